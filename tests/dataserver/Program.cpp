#include "tests/dataserver/Program.h"

#include "socket/Address.h"
#include "varnox/socketutil/SocketException.h"

#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varnox::tests {

namespace fs = std::filesystem;
using socketutil::Descriptor;

namespace {

constexpr std::chrono::seconds PATIENCE{30};
constexpr std::chrono::milliseconds STEP{10};

/// Between fork and exec.
[[noreturn]] void become(char* const* arguments, int log, Surroundings const& surroundings)
{
    ::signal(SIGHUP, surroundings.ignoresHangUp ? SIG_IGN : SIG_DFL);
    if (surroundings.hasNoSpace) {
        rlimit const none = {0, 0};
        ::setrlimit(RLIMIT_FSIZE, &none);
        ::signal(SIGXFSZ, SIG_IGN);
    }
    int const null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(null, 0);
    ::dup2(null, 1);
    ::dup2(log, 2);
    for (auto const& [here, there] : surroundings.descriptors)
        ::dup2(here, there);
    ::execv(arguments[0], arguments);
    ::_exit(127);
}

}

bool eventually(std::function<bool()> const& condition)
{
    auto const end = std::chrono::steady_clock::now() + PATIENCE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(STEP);
    }
    return true;
}

bool isAlive(pid_t process)
{
    std::string const status = contents("/proc/" + std::to_string(process) + "/stat");
    std::size_t const nameEnd = status.rfind(')');
    return nameEnd != std::string::npos && status.substr(nameEnd + 2, 1) != "Z";
}

std::string contents(fs::path const& file)
{
    std::ifstream stream(file);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::string addon(std::string const& name)
{
    return std::string(VNX_LIB_DIR) + "/" + name + ".so";
}

Program::Program(std::vector<std::string> const& arguments, fs::path const& logFile,
                 Surroundings const& surroundings)
    : m_logFile(logFile)
{
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), std::string(VNX_BIN_DIR) + "/vnxdataserver");
    if (surroundings.allowsRoot && ::geteuid() == 0)
        words.emplace_back("--allow-root");
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    Descriptor const log(
        ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600));
    m_process = ::fork();
    if (m_process == 0)
        become(pointers.data(), log.get(), surroundings);
}

Program::~Program()
{
    if (isRunning()) {
        send(SIGKILL);
        reap(0);
    }
}

void Program::send(int signal) const
{
    ::kill(m_process, signal);
}

bool Program::reap(int flags)
{
    int status = 0;
    if (!m_hasEnded && ::waitpid(m_process, &status, flags) == m_process) {
        m_hasEnded = true;
        m_status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    return m_hasEnded;
}

bool Program::isRunning()
{
    return !reap(WNOHANG);
}

int Program::wait()
{
    EXPECT_TRUE(eventually([&] { return !isRunning(); })) << "still running\n" << log();
    return m_status;
}

std::string Program::log() const
{
    return contents(m_logFile);
}

bool Program::logHolds(std::string const& text) const
{
    return log().find(text) != std::string::npos;
}

Client::Client(std::string const& address)
{
    int const connected = connectTo(socketutil::parseAddress(address)).release();
    m_socket = std::make_unique<socketutil::StreamSocket>(connected, connected);
}

Client::Client(std::string const& address, std::string const& source)
{
    Descriptor connection(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in here = {};
    here.sin_family = AF_INET;
    EXPECT_EQ(::inet_pton(AF_INET, source.c_str(), &here.sin_addr), 1);
    EXPECT_EQ(::bind(connection.get(), reinterpret_cast<sockaddr*>(&here), sizeof(here)), 0);
    socketutil::Address const target = socketutil::parseAddress(address);
    sockaddr_in there = {};
    there.sin_family = AF_INET;
    there.sin_port = htons(target.port);
    EXPECT_EQ(::inet_pton(AF_INET, target.host.c_str(), &there.sin_addr), 1);
    EXPECT_EQ(::connect(connection.get(), reinterpret_cast<sockaddr*>(&there), sizeof(there)), 0);
    int const connected = connection.release();
    m_socket = std::make_unique<socketutil::StreamSocket>(connected, connected);
}

Client::Client(int readEnd, int writeEnd)
    : m_socket(std::make_unique<socketutil::StreamSocket>(readEnd, writeEnd))
{
}

Answer Client::greet(std::string const& first, std::string const& token)
{
    m_socket->sendString(first);
    m_socket->sendString(token);
    return receiveAnswer();
}

Answer Client::receiveAnswer()
{
    int const accepted = m_socket->receiveUInt8();
    return {accepted, m_socket->receiveString()};
}

void Client::expectToBeServed()
{
    m_socket->sendString("list file types");
    EXPECT_EQ(m_socket->receiveString(), "Behaving");
    EXPECT_EQ(m_socket->receiveString(), "hdqfs");
    EXPECT_EQ(m_socket->receiveString(), "command finished");
}

void Client::load(fs::path const& path)
{
    m_socket->sendString("load dataset");
    m_socket->sendString(path.string());
}

bool Client::seesEnd()
{
    try {
        m_socket->receiveUInt8();
        return false;
    } catch (socketutil::SocketException const&) {
        return true;
    }
}

void DataServer::SetUp()
{
    std::string name = (fs::temp_directory_path() / "vnxXXXXXX").string();
    ASSERT_NE(::mkdtemp(name.data()), nullptr);
    folder = name;
    socketPath = folder / "socket";
}

void DataServer::TearDown()
{
    fs::remove_all(folder);
}

std::unique_ptr<Program> DataServer::start(Words arguments, Surroundings const& surroundings)
{
    bool const namesAddon =
        std::find(arguments.begin(), arguments.end(), "--addon") != arguments.end();
    if (!namesAddon)
        arguments.insert(arguments.begin(), {"--addon", addon("vnxbehavingaddon")});
    return std::make_unique<Program>(arguments, folder / ("log" + std::to_string(++numLogs)),
                                     surroundings);
}

std::unique_ptr<Program> DataServer::listenAt(std::string const& where, Words arguments,
                                              Surroundings const& surroundings)
{
    fs::path const addressFile = folder / "address";
    fs::remove(addressFile);
    Words const always = {"--listen", where, "--address-file", addressFile.string()};
    arguments.insert(arguments.begin(), always.begin(), always.end());
    auto program = start(arguments, surroundings);
    EXPECT_TRUE(eventually([&] { return fs::exists(addressFile) || !program->isRunning(); }));
    address = contents(addressFile);
    EXPECT_TRUE(address.ends_with('\n')) << program->log();
    if (!address.empty())
        address.pop_back();
    return program;
}

std::unique_ptr<Program> DataServer::listen(Words arguments, Surroundings const& surroundings)
{
    return listenAt("unix:" + socketPath.string(), std::move(arguments), surroundings);
}

int DataServer::statusOf(Words const& arguments, Surroundings const& surroundings)
{
    return start(arguments, surroundings)->wait();
}

std::string DataServer::lastLog() const
{
    return contents(folder / ("log" + std::to_string(numLogs)));
}

fs::path DataServer::fileNamed(std::string const& name)
{
    fs::path const path = folder / name;
    fs::copy_file(std::string(VNX_SOURCE_DIR) + "/examples/data/tjunction_grid.hdqfs", path,
                  fs::copy_options::overwrite_existing);
    return path;
}

std::vector<int> DataServer::beginLoad(Client& client, std::string const& name)
{
    fs::path const path = fileNamed(name);
    fs::path const report = path.string() + ".begun";
    client.load(path);
    EXPECT_TRUE(eventually([&] { return fs::exists(report); })) << lastLog();
    std::ifstream stream(report);
    std::vector<int> numbers;
    for (int number = 0; stream >> number;)
        numbers.push_back(number);
    numbers.resize(std::max<std::size_t>(numbers.size(), 1), -1);
    return numbers;
}

}
