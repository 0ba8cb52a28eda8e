#pragma once

#include <functional>
#include <utility>

/// Runs a function when it goes out of scope. An exception out of that function ends the process.
class ScopedExitAction
{
public:
    explicit ScopedExitAction(std::function<void()> action) : m_action(std::move(action)) {}
    ScopedExitAction(ScopedExitAction const&) = delete;
    ScopedExitAction& operator=(ScopedExitAction const&) = delete;
    virtual ~ScopedExitAction() { m_action(); }

private:
    std::function<void()> m_action;
};
