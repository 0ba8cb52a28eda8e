#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <iterator>
#include <set>
#include <string>

namespace {

/// The dynamic symbols that the shared library defines, as nm prints them.
std::set<std::string> exportedSymbols(bool demangled)
{
    std::string const command = std::string("nm -D --defined-only ") + (demangled ? "-C " : "") +
                                VNX_LIB_DIR "/libvnxsdkbase.so";
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::set<std::string> symbols;
    std::array<char, 4096> line;
    while (output != nullptr && std::fgets(line.data(), line.size(), output) != nullptr) {
        std::string text(line.data());
        while (!text.empty() && text.back() == '\n')
            text.pop_back();
        symbols.insert(text.substr(19)); // behind address and kind
    }
    EXPECT_EQ(::pclose(output), 0);
    return symbols;
}

/// The names of the host API as the linker sees them.
constexpr char const* HOST_API_SYMBOLS[] = {
#define HOST_API(result, name, parameters, arguments) #name,
#define HOST_API_CXX(result, name, parameters, arguments)                                          \
    "_Z23" #name "PKcS0_P5Set_slllllllll15FieldDataType_e15ValueLocation_ec",
#include "varnox/hostapi/HostApi.def"
};

TEST(Exports, EveryHostApiFunctionIsExportedUnderItsPlainName)
{
    std::set<std::string> const symbols = exportedSymbols(false);
    for (char const* name : HOST_API_SYMBOLS)
        EXPECT_EQ(symbols.count(name), 1U) << name;
    EXPECT_EQ(std::size(HOST_API_SYMBOLS), 1433U);
}

TEST(Exports, HostsAndAddonsFindTheOperationsOfTheirClasses)
{
    std::set<std::string> const symbols = exportedSymbols(true);
    for (char const* name : {
             "varnox::hdqremote::AddonProxy::AddonProxy",
             "varnox::hdqremote::AddonProxy::~AddonProxy",
             "varnox::hdqremote::AddonProxy::serviceCommandsUntil",
             "varnox::hdqremote::AddonProxy::isBetweenCommands",
             "varnox::hdqremote::AddonProxy::restrictPaths",
             "varnox::hdqremote::DataSetRegistrationServer::registerZoneVarIDQueryServices",
             "varnox::hdqremote::DataSetRegistrationServer::registerVarQueryServices",
             "varnox::hdqremote::DataSetRegistrationServer::registerZoneConnectivityQueryServices",
             "varnox::socketutil::SocketInterface::~SocketInterface",
             "varnox::socketutil::SocketException::SocketException",
             "varnox::socketutil::WriteCache::WriteCache",
             "varnox::socketutil::WriteCache::~WriteCache",
             "varnox::socketutil::WriteCache::appendCache",
             "varnox::socketutil::WriteCache::pieces",
             "varnox::socketutil::WriteCache::size",
             "varnox::VnxMock::VnxMock",
             "varnox::VnxMock::~VnxMock",
             "varnox::VnxMock::GetInstance",
             "varnox::VnxMock::Unimplemented",
         }) {
        auto const found = symbols.lower_bound(std::string(name) + "(");
        EXPECT_TRUE(found != symbols.end() && found->rfind(std::string(name) + "(", 0) == 0)
            << name;
    }
    for (char const* name : {
             "varnox::hdqremote::AddonProxy::Error",
             "varnox::hdqremote::AddonProxy::CommunicationError",
             "varnox::hdqremote::DataSetRegistrationServer::Error",
             "varnox::socketutil::SocketException",
             "varnox::socketutil::SocketInterface",
             "varnox::ExceptionBase",
             "varnox::IOException",
             "varnox::hdq::LoaderInterface",
             "varnox::hdq::ZoneVarIDQueryInterface",
             "varnox::hdq::VarValueQueryInterface",
             "varnox::hdq::VarSubzoneQueryInterface",
             "varnox::hdq::OrderedSubzoneQueryInterface",
             "varnox::hdq::CellConnectivityQueryInterface",
             "varnox::hdq::NodeConnectivityQueryInterface",
         })
        EXPECT_EQ(symbols.count(std::string("typeinfo for ") + name), 1U) << name;
}

TEST(Exports, NothingElseIsExportedButTheClassesForHostsAndAddons)
{
    std::set<std::string> const hostApi(
        std::begin(HOST_API_SYMBOLS), std::end(HOST_API_SYMBOLS));
    constexpr char const* CLASSES[] = {
        "varnox::VnxMock",
        "varnox::hdqremote::AddonProxy",
        "varnox::hdqremote::DataSetRegistrationServer",
        "varnox::hdq::DataSetRegistrationInterface",
        "varnox::hdq::LoaderInterface",
        "varnox::hdq::ZoneVarIDQueryInterface",
        "varnox::hdq::VarValueQueryInterface",
        "varnox::hdq::VarSubzoneQueryInterface",
        "varnox::hdq::OrderedSubzoneQueryInterface",
        "varnox::hdq::CellConnectivityQueryInterface",
        "varnox::hdq::NodeConnectivityQueryInterface",
        "varnox::ExceptionBase",
        "varnox::IOException",
        "varnox::socketutil::SocketException",
        "varnox::socketutil::SocketInterface",
        "varnox::socketutil::WriteCache",
    };
    auto const belongsToAClass = [&](std::string symbol) {
        for (char const* prefix : {"typeinfo for ", "typeinfo name for ", "vtable for "})
            if (symbol.rfind(prefix, 0) == 0)
                symbol = symbol.substr(std::string(prefix).size()) + "::";
        if (symbol.find("::Impl") != std::string::npos)
            return false;
        for (char const* name : CLASSES)
            if (symbol.rfind(std::string(name) + "::", 0) == 0)
                return true;
        return false;
    };
    std::size_t numFunctions = 0;
    for (std::string const& symbol : exportedSymbols(false))
        numFunctions += hostApi.count(symbol);
    EXPECT_EQ(numFunctions, hostApi.size());
    for (std::string const& symbol : exportedSymbols(true)) {
        std::string const name = symbol.substr(0, symbol.find('('));
        EXPECT_TRUE(hostApi.count(name) == 1 || name == "VnxAppWriteEquationFile" ||
                    belongsToAClass(symbol))
            << symbol;
    }
}

}
