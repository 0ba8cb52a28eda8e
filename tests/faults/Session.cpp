#include "tests/faults/Session.h"

#include "socket/StreamSocket.h"
#include "varnox/IOException.h"
#include "varnox/hdqremote/AddonProxy.h"
#include "varnox/hdqremote/DataSetRegistrationServer.h"
#include "varnox/socketutil/SocketException.h"

#include <iostream>
#include <new>
#include <optional>
#include <stdexcept>
#include <streambuf>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace varnox::tests {

namespace {

/// Takes what the library prints, without memory.
class Silence : public std::streambuf
{
protected:
    int overflow(int c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(char const*, std::streamsize count) override { return count; }
};

class Silenced
{
public:
    Silenced() : m_out(std::cout.rdbuf(&m_silence)), m_errors(std::cerr.rdbuf(&m_silence)) {}
    Silenced(Silenced const&) = delete;
    Silenced& operator=(Silenced const&) = delete;
    ~Silenced()
    {
        std::cout.rdbuf(m_out);
        std::cerr.rdbuf(m_errors);
        std::cout.clear();
        std::cerr.clear();
    }

private:
    Silence m_silence;
    std::streambuf* m_out;
    std::streambuf* m_errors;
};

/// Runs in a handler: gives type and text of the exception at hand.
void describe(SessionReport& report)
{
    using namespace hdqremote;
    try {
        throw;
    } catch (std::bad_alloc const&) {
        report.exception = "std::bad_alloc";
    } catch (AddonProxy::CommunicationError const& error) {
        report.exception = "CommunicationError";
        report.text = error.what();
    } catch (AddonProxy::Error const& error) {
        report.exception = "AddonProxy::Error";
        report.text = error.what();
    } catch (DataSetRegistrationServer::Error const& error) {
        report.exception = "DataSetRegistrationServer::Error";
        report.text = error.what();
    } catch (IOException const& error) {
        report.exception = "IOException";
        report.text = error.what();
    } catch (socketutil::SocketException const& error) {
        report.exception = "SocketException";
        report.text = error.what();
    } catch (std::invalid_argument const& error) {
        report.exception = "std::invalid_argument";
        report.text = error.what();
    } catch (std::logic_error const& error) {
        report.exception = "std::logic_error";
        report.text = error.what();
    } catch (std::runtime_error const& error) {
        report.exception = "std::runtime_error";
        report.text = error.what();
    } catch (std::exception const& error) {
        report.exception = "std::exception";
        report.text = error.what();
    } catch (...) {
        report.exception = "something else";
    }
}

void serve(std::string const& addon, int descriptor, Fault const& fault, SessionReport& report)
{
    Silenced const silenced;
    FaultInjection injection(fault, descriptor);
    bool hasConnection = false;
    try {
        socketutil::StreamSocket socket(descriptor, descriptor);
        hasConnection = true;
        hdqremote::AddonProxy proxy(addon, socket);
        proxy.serviceCommandsUntil("close data server");
    } catch (...) {
        injection.end();
        describe(report);
    }
    injection.end();
    if (!hasConnection)
        ::close(descriptor);
    report.numOperations = injection.numOperations();
    report.numInjected = injection.numInjected();
}

}

SessionReport runSession(Scenario const& scenario, Fault const& fault)
{
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        throw std::runtime_error("no socket pair");
    SessionReport report;
    std::vector<Step> steps;
    std::thread client([&] {
        Talk talk(ends[0]);
        scenario.talk(talk);
        talk.close();
        steps = talk.takeSteps();
    });
    std::string const addon = std::string(VNX_LIB_DIR "/") + scenario.addon + ".so";
    report.exception.reserve(64);
    report.text.reserve(4096);
    long const before = numLiveBlocks();
    serve(addon, ends[1], fault, report);
    report.heldBlocks = numLiveBlocks() - before;
    client.join();
    report.steps = std::move(steps);
    return report;
}

}
