#pragma once

#include "tests/support/CaseName.h"
#include "tests/support/QueryFakes.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"
#include "varnox/IOException.h"
#include "varnox/socketutil/SocketException.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace varnox::tests {

using wire::f32;
using wire::f64;
using wire::i32;
using wire::i64;
using wire::text;
using wire::u16;
using wire::u32;
using wire::u64;
using wire::u8;
using wire::vec;

/// One method of a query server.
struct MethodCase
{
    std::string name; ///< The method string too.
    std::string request;
    std::vector<std::string> calls; ///< What reaches the add-on.
    std::string answer;
    /// What a failure of the connection becomes at each of the method's operations, the reading of
    /// the method string included: a SocketException or an IOException.
    std::string failures;
};

/// A session has a socket, the add-on's fake and the server over both.
template <typename Session>
void expectTheMethod(MethodCase const& c)
{
    Session session;
    session.socket.appendScript(text(c.name) + c.request + "next");
    session.server.handleMethod();
    EXPECT_EQ(session.fake.calls, c.calls);
    EXPECT_EQ(session.socket.sent(), c.answer);
    EXPECT_EQ(session.socket.unread(), "next");
    EXPECT_EQ(session.socket.numOperations(), c.failures.size());
}

template <typename Session>
void expectItsFailures(MethodCase const& c)
{
    for (std::size_t n = 0; n < c.failures.size(); ++n) {
        Session session;
        session.socket.appendScript(text(c.name) + c.request);
        session.socket.failAt(n);
        if (c.failures[n] == 'I')
            EXPECT_THROW(session.server.handleMethod(), IOException) << "operation " << n;
        else
            EXPECT_THROW(session.server.handleMethod(), socketutil::SocketException)
                << "operation " << n;
        EXPECT_TRUE(session.socket.sent().empty());
    }
}

template <typename Session>
void expectTheAddonsExceptionsToPass(MethodCase const& c)
{
    for (std::string const& call : c.calls) {
        Session session;
        session.socket.appendScript(text(c.name) + c.request);
        session.fake.failing = call.substr(0, call.find(' '));
        EXPECT_THROW(session.server.handleMethod(), std::runtime_error) << call;
        EXPECT_TRUE(session.socket.sent().empty()) << call;
    }
}

}

/// The three tests of a method table.
#define VNX_TEST_METHODS(Suite, Session, cases)                                                    \
    class Suite : public testing::TestWithParam<tests::MethodCase>                                 \
    {                                                                                              \
    };                                                                                             \
    TEST_P(Suite, CallsTheAddonAndAnswers)                                                         \
    {                                                                                              \
        tests::expectTheMethod<Session>(GetParam());                                               \
    }                                                                                              \
    TEST_P(Suite, FailsWithTheConnection)                                                          \
    {                                                                                              \
        tests::expectItsFailures<Session>(GetParam());                                             \
    }                                                                                              \
    TEST_P(Suite, PassesTheAddonsExceptionsOn)                                                     \
    {                                                                                              \
        tests::expectTheAddonsExceptionsToPass<Session>(GetParam());                               \
    }                                                                                              \
    INSTANTIATE_TEST_SUITE_P(Methods, Suite, testing::ValuesIn(cases),                             \
                             tests::caseName<tests::MethodCase>)
