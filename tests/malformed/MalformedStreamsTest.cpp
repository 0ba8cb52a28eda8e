// Malformed streams: streams.txt has them, each with how the receiver's side ends.

#include "apps/dataserver/Greeting.h"
#include "client/Engine.h"
#include "expressions/ExpressionSerializer.h"
#include "filedata/Messages.h"
#include "filedata/ZoneMetadata.h"
#include "filedata/ZoneMetadataSerializer.h"
#include "fuzz/support/Conversation.h"
#include "fuzz/support/ExpectedLoss.h"
#include "fuzz/support/SessionRun.h"
#include "query/Arrays.h"
#include "query/SubzoneCellConnectivity.h"
#include "query/SubzoneNodeConnectivity.h"
#include "query/SubzoneVarValues.h"
#include "tests/malformed/Run.h"
#include "socket/StreamSocket.h"
#include "varnox/hdqremote/AddonProxy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <typeinfo>

#include <cxxabi.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varnox::malformed {
namespace {

std::string const TABLE = VNX_SOURCE_DIR "/tests/malformed/streams.txt";

using Socket = socketutil::SocketInterface;

/// "AddonProxy::Error: its text"
std::string nameOf(std::exception const& error)
{
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> const name(
        abi::__cxa_demangle(typeid(error).name(), nullptr, nullptr, &status), std::free);
    std::string type = name.get();
    for (char const* const space : {"varnox::hdqremote::", "varnox::socketutil::",
                                    "varnox::client::", "varnox::dataserver::", "varnox::"})
        if (type.starts_with(space))
            type.erase(0, std::strlen(space));
    return type;
}

/// What the library prints doesn't appear.
class Silence
{
public:
    Silence() : m_out(std::cout.rdbuf(nullptr)) {}
    Silence(Silence const&) = delete;
    Silence& operator=(Silence const&) = delete;
    ~Silence()
    {
        std::cout.rdbuf(m_out);
        std::cout.clear();
    }

private:
    std::streambuf* m_out;
};

template <typename F>
std::string endOf(F const& f)
{
    try {
        f();
    } catch (std::exception const& error) {
        return nameOf(error) + ": " + error.what();
    }
    return "(nothing)";
}

// Receivers, by the first word of a case's base.

/// Descriptors for a receiver, which closes them.
struct Ends
{
    /// What it receives are the bytes, and then the end. What it sends is lost.
    explicit Ends(std::string const& bytes)
        : in(::memfd_create("stream", MFD_CLOEXEC)), out(::open("/dev/null", O_WRONLY | O_CLOEXEC))
    {
        EXPECT_EQ(::pwrite(in, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

    int in;
    int out;
};

/// Runs a server over all that a client says. Its samples lie in data/.
std::string session(std::string const& stream, char const* addon)
{
    static bool const isThere = [] {
        std::filesystem::create_directory_symlink(fuzz::sampleFolder(),
                                                  fuzz::sampleFolder() + "/data");
        std::filesystem::current_path(fuzz::sampleFolder());
        return true;
    }();
    EXPECT_TRUE(isThere);
    Silence const silence;
    Ends const ends(stream);
    return endOf([&] {
        socketutil::StreamSocket socket(ends.in, ends.out);
        hdqremote::AddonProxy proxy(std::string(VNX_LIB_DIR "/") + addon, socket);
        proxy.serviceCommandsUntil("close data server");
    });
}

std::string greeting(std::string const& stream)
{
    Ends const ends(stream);
    std::string const text = endOf([&] {
        dataserver::Greeting receiver(ends.in, ends.out, -1, std::chrono::seconds(10));
        receiver.receive("token");
    });
    ::close(ends.in);
    ::close(ends.out);
    return text;
}

/// Plays the server to a client, which asks what its kind asks first.
std::string client(std::string const& stream, fuzz::Opening opening)
{
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    EXPECT_EQ(::send(ends[1], stream.data(), stream.size(), MSG_NOSIGNAL | MSG_DONTWAIT),
              static_cast<ssize_t>(stream.size()));
    ::shutdown(ends[1], SHUT_WR);
    std::string const text = endOf([&] {
        client::Engine engine(ends[0]);
        fuzz::converseToTheEnd(engine, opening, "data.hdqfs");
    });
    ::close(ends[1]);
    return text;
}

template <typename T>
void receiveValues(Socket& socket)
{
    hdqlib::SubzoneVarValues<T> const values(socket);
}

void receiveCells(Socket& socket)
{
    hdqlib::SubzoneCellConnectivity const cells(socket);
    OwnedArray<ItemAddress<long>> nodes;
    for (unsigned short cell = 0; cell < cells.size(); ++cell)
        cells.nodeAddresses(cell, nodes.view());
}

std::string payload(std::string const& stream, void (*receive)(Socket&))
{
    Ends const ends(stream);
    return endOf([&] {
        socketutil::StreamSocket socket(ends.in, ends.out);
        receive(socket);
    });
}

using Receiver = std::string (*)(std::string const& stream);

std::map<std::string, Receiver> const& receivers()
{
    static std::map<std::string, Receiver> const all{
        {"session", [](auto const& s) { return session(s, "vnxhdqfsloader.so"); }},
        {"addon", [](auto const& s) { return session(s, "vnxenginetestaddon.so"); }},
        {"greeting", greeting},
        {"greeted", [](auto const& s) { return client(s, fuzz::Opening::Greeting); }},
        {"browser", [](auto const& s) { return client(s, fuzz::Opening::Browsing); }},
        {"client", [](auto const& s) { return client(s, fuzz::Opening::Loading); }},
        {"floats", [](auto const& s) { return payload(s, receiveValues<float>); }},
        {"doubles", [](auto const& s) { return payload(s, receiveValues<double>); }},
        {"ints", [](auto const& s) { return payload(s, receiveValues<int>); }},
        {"shorts", [](auto const& s) { return payload(s, receiveValues<short>); }},
        {"bytes", [](auto const& s) { return payload(s, receiveValues<unsigned char>); }},
        {"cells", [](auto const& s) { return payload(s, receiveCells); }},
        {"nodes",
         [](auto const& s) {
             return payload(
                 s, [](Socket& socket) { hdqlib::SubzoneNodeConnectivity const nodes(socket); });
         }},
        {"addresses",
         [](auto const& s) {
             return payload(s, [](Socket& socket) { hdqremote::receiveSubzoneAddresses(socket); });
         }},
        {"strings",
         [](auto const& s) {
             return payload(s, [](Socket& socket) { socket.receiveStringVector(); });
         }},
        {"zone",
         [](auto const& s) {
             return payload(s, [](Socket& socket) {
                 std::unique_ptr<hdqio::ZoneMetadata> const zone(
                     hdqlib::ZoneMetadataSerializer::deserialize(socket).metadata());
             });
         }},
        {"expression", [](auto const& s) {
             return payload(
                 s, [](Socket& socket) { hdqlib::ExpressionSerializer::deserialize(socket); });
         }}};
    return all;
}

/// The words of a case's base: the receiver, and the file that its stream begins with, if any.
std::pair<std::string, std::string> wordsOf(Case const& each)
{
    std::istringstream words(each.base);
    std::pair<std::string, std::string> result;
    words >> result.first >> result.second;
    return result;
}

std::string baseOf(Case const& each)
{
    std::string const file = wordsOf(each).second;
    return file.empty() ? "" : baseFile(file);
}

bool losesOperands(Case const& each)
{
    return each.group == "Expressions" || each.group == "Calculated variables";
}

Said ask(Case const& each, std::string const& input)
{
    hdqio::MessageCapture const quiet;
    fuzz::ExpectedLoss const loss(losesOperands(each));
    return {{"ends", receivers().at(wordsOf(each).first)(input)}};
}

class MalformedStreams : public testing::TestWithParam<std::string>
{
};

std::string nameOfGroup(testing::TestParamInfo<std::string> const& group)
{
    std::string result = group.param;
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return result;
}

INSTANTIATE_TEST_SUITE_P(Streams, MalformedStreams, testing::ValuesIn(Table(TABLE).groups()),
                         nameOfGroup);

TEST_P(MalformedStreams, EndAsTheTableSays)
{
    for (char const* const addon : {"vnxhdqfsloader.so", "vnxenginetestaddon.so"})
        session("", addon); // brings it into the process, apart from a case's memory
    runGroup(TABLE, GetParam(), baseOf, ask);
}

TEST(MalformedStreamsTable, HasFiveHundredStreamsOfDifferentNames)
{
    Table table(TABLE);
    std::set<std::string> names;
    for (Case const& each : table.cases())
        names.insert(each.name);
    EXPECT_EQ(names.size(), table.cases().size());
    EXPECT_GE(names.size(), 500U);
}

TEST(MalformedStreamsTable, HasNoStreamThatIsTaken)
{
    Table table(TABLE);
    for (Case const& each : table.cases())
        for (auto const& [who, text] : each.said)
            EXPECT_NE(text, "(nothing)") << each.name;
}

}
}
