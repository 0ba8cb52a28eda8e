// Every operation of the system on which a session depends fails once, and fails for good, one
// after the other, in conversations of every kind. How many are tried of a long conversation, and
// how to try them all, is told in docs/reliability.md.

#include "tests/faults/Scenarios.h"
#include "tests/faults/Tally.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <optional>
#include <ostream>

#include <unistd.h>

namespace varnox::tests {

void PrintTo(Scenario const& scenario, std::ostream* out)
{
    *out << scenario.name;
}

namespace {

/// A session that takes this long several times over hangs; a process may be stopped meanwhile.
constexpr unsigned SECONDS_PER_SESSION = 20;
constexpr int NUM_ALARMS = 3;

/// What runs at the moment, for a handler that can't ask.
char present[200] = "nothing";

volatile std::sig_atomic_t numAlarms = 0;

void tellAndDie(int signal)
{
    numAlarms = numAlarms + 1;
    if (signal == SIGALRM && numAlarms < NUM_ALARMS) {
        ::alarm(SECONDS_PER_SESSION);
        return;
    }
    char text[300];
    int const length =
        std::snprintf(text, sizeof(text), "\nSignal %d while running %s\n", signal, present);
    [[maybe_unused]] ssize_t const written =
        ::write(STDERR_FILENO, text, static_cast<std::size_t>(length));
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

std::string describe(Scenario const& scenario, Fault const& fault)
{
    return std::string(scenario.name) + ", " + nameOf(fault.kind) + " " + std::to_string(fault.n) +
           (fault.lasts ? " and on" : "");
}

/// A session with a limit to its time.
SessionReport run(Scenario const& scenario, Fault const& fault = {})
{
    std::snprintf(present, sizeof(present), "%s", describe(scenario, fault).c_str());
    numAlarms = 0;
    ::alarm(SECONDS_PER_SESSION);
    SessionReport report = runSession(scenario, fault);
    ::alarm(0);
    return report;
}

bool isEqual(Step const& a, Step const& b)
{
    return a.end == b.end && (a.end == StepEnd::Ended || a.text == b.text);
}

bool isStated(FaultKind kind, std::string const& exception)
{
    bool const isOfSocket = kind >= FaultKind::ReceiveReset;
    if (exception == "AddonProxy::Error") // a load has failed
        return true;
    if (exception == "CommunicationError" || exception == "IOException")
        return isOfSocket || kind == FaultKind::Allocation;
    if (exception == "std::runtime_error") // of the add-on
        return !isOfSocket;
    return exception == "std::bad_alloc" && kind == FaultKind::Allocation;
}

/// The step of a clean session that goes with a step; a load that left something out has fewer
/// steps behind it.
Step const* counterpart(SessionReport const& clean, Step const& step)
{
    auto const found = std::find_if(clean.steps.begin(), clean.steps.end(),
                                    [&](Step const& each) { return each.name == step.name; });
    return found != clean.steps.end() ? &*found : nullptr;
}

/// What is wrong with the steps of a session in which something failed; empty if nothing is.
std::string complaintOfSteps(Scenario const& scenario, Fault const& fault,
                             SessionReport const& clean, SessionReport const& report)
{
    bool hasFailed = false;
    for (Step const& step : report.steps) {
        if (step.end == StepEnd::Nonsense)
            return step.name + ": " + step.text;
        Step const* const expected = counterpart(clean, step);
        if (expected != nullptr && isEqual(step, *expected))
            continue;
        bool const isAnswer = step.end == StepEnd::Answered;
        if (isAnswer && !scenario.mayLeaveOut)
            return step.name + " gave another answer" + (hasFailed ? " after the failure" : "");
        if (step.end == StepEnd::Refused && hasFailed && !fault.lasts)
            return step.name + " failed after the failure: " + step.text;
        if (step.end == StepEnd::Ended && report.exception.empty())
            return step.name + " ended the session, but the server went on: " + step.text;
        hasFailed = !isAnswer;
    }
    if (report.steps.size() != clean.steps.size() && !hasFailed)
        return "steps are missing";
    return hasFailed && isHarmless(fault.kind) ? "what is harmless did harm" : "";
}

/// What is wrong with a session in which something failed; empty if it ended as it should.
std::string complaint(Scenario const& scenario, Fault const& fault, SessionReport const& clean,
                      SessionReport const& report)
{
    std::string const ofSteps = complaintOfSteps(scenario, fault, clean, report);
    std::string const ending = report.exception + ": " + report.text;
    if (!ofSteps.empty())
        return ofSteps + " (" + ending + ")";
    if (report.exception == clean.exception)
        return "";
    if (isHarmless(fault.kind) || !isStated(fault.kind, report.exception))
        return "the server threw " + ending;
    if (report.text.empty() && fault.kind != FaultKind::Allocation)
        return "the server threw " + report.exception + " without a text";
    return "";
}

void count(SessionReport const& clean, SessionReport const& report, Tally& tally)
{
    bool const isSame = std::equal(report.steps.begin(), report.steps.end(), clean.steps.begin(),
                                   clean.steps.end(), isEqual);
    if (report.exception != clean.exception) {
        ++tally.ended;
        recordException(report.exception);
    } else if (isSame) {
        ++tally.unharmed;
    } else {
        ++tally.refused;
    }
}

class FaultSweep : public testing::TestWithParam<Scenario>
{
protected:
    static void SetUpTestSuite()
    {
        for (int const signal : {SIGABRT, SIGALRM, SIGTERM})
            std::signal(signal, tellAndDie);
#ifndef __SANITIZE_ADDRESS__
        std::signal(SIGSEGV, tellAndDie);
#endif
        // What is made at first use stays.
        for (int i = 0; i < 2; ++i)
            run(nextSession());
    }

    void SetUp() override
    {
        for (int i = 0; i < 2; ++i)
            clean = run(GetParam());
        next = run(nextSession());
        numDescriptors = numOpenDescriptors();
        // Another pair, to see what is held for good.
        long const held = run(GetParam()).heldBlocks + run(nextSession()).heldBlocks;
        ASSERT_EQ(held, 0) << "a clean session keeps memory";
        ASSERT_EQ(numOpenDescriptors(), numDescriptors);
    }

    /// The session with the fault, then another one. False: the sweep is over.
    bool tryFault(Fault const& fault)
    {
        SessionReport const report = run(GetParam(), fault);
        if (report.numInjected == 0)
            return false;
        SessionReport const after = run(nextSession());
        std::string wrong = complaint(GetParam(), fault, clean, report);
        long held = report.heldBlocks + after.heldBlocks;
        if (held != 0) { // what is made at first use stays; what is lost is lost again
            held = run(GetParam(), fault).heldBlocks;
            held += run(nextSession()).heldBlocks;
        }
        if (wrong.empty() && !after.exception.empty())
            wrong = "the next session ended with " + after.exception + ": " + after.text;
        if (wrong.empty() && !std::equal(after.steps.begin(), after.steps.end(), next.steps.begin(),
                                         next.steps.end(), isEqual))
            wrong = "the next session had other answers";
        if (wrong.empty() && held != 0)
            wrong = std::to_string(held) + " blocks of memory were lost";
        if (wrong.empty() && numOpenDescriptors() != numDescriptors)
            wrong = "descriptors were lost";
        ++tally.faults;
        tally.injected += report.numInjected;
        if (wrong.empty())
            count(clean, report, tally);
        else
            ++tally.otherwise;
        EXPECT_EQ(wrong, "") << describe(GetParam(), fault);
        return true;
    }

    void sweep(FaultKind kind)
    {
        std::uint64_t const numOperations = run(GetParam(), {kind, 0, false}).numOperations;
        run(nextSession());
        tally.operations += numOperations;
        for (bool const lasts : {false, true}) {
            for (std::uint64_t const n : samples(numOperations, numSweeps++))
                if (!tryFault({kind, n, lasts}))
                    break;
            // Other runs may take a few operations more, as bytes arrive in other portions.
            for (std::uint64_t n = numOperations + 1; isFullSweep(); ++n)
                if (!tryFault({kind, n, lasts}))
                    break;
        }
    }

    SessionReport clean;
    SessionReport next;
    Tally tally;
    int numDescriptors = 0;
    std::uint64_t numSweeps = 0;
};

TEST_P(FaultSweep, EndsAsStatedAndLeavesNothing)
{
    constexpr FaultKind KINDS[] = {
        FaultKind::Allocation, FaultKind::FileError,     FaultKind::FileEnd,
        FaultKind::FileShort,  FaultKind::FileInterrupt, FaultKind::ReceiveReset,
        FaultKind::ReceiveEnd, FaultKind::ReceiveShort,  FaultKind::ReceiveInterrupt,
        FaultKind::SendReset,  FaultKind::SendShort,     FaultKind::SendInterrupt};
    for (FaultKind const kind : KINDS)
        sweep(kind);
    EXPECT_GT(tally.faults, 0U);
    record(GetParam().name, tally);
}

INSTANTIATE_TEST_SUITE_P(Conversations, FaultSweep, testing::ValuesIn(scenarios()),
                         [](auto const& test) { return std::string(test.param.name); });

}
}
