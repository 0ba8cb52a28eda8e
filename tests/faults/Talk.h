#pragma once

#include "client/Engine.h"

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace varnox::tests {

/// How a step of a conversation went, seen from the client.
enum class StepEnd {
    Answered,
    Refused, ///< With a message, and the session went on.
    Ended,   ///< The session was over.
    Nonsense ///< What came was no answer.
};

struct Step
{
    std::string name;
    StepEnd end = StepEnd::Answered;
    std::string text; ///< What was answered, or the message.
};

/// Answers in short: as many bytes, and their hash.
class Digest
{
public:
    template <typename T>
    Digest& add(T const& value)
    {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        return addBytes(&value, sizeof(value));
    }
    Digest& add(std::string const& text)
    {
        return add(text.size()).addBytes(text.data(), text.size());
    }
    Digest& add(char const* text) { return add(std::string(text)); }
    template <typename T>
    Digest& add(std::vector<T> const& values)
    {
        add(values.size());
        for (T const& value : values)
            add(value);
        return *this;
    }
    Digest& addBytes(void const* bytes, std::size_t count);
    std::string text() const;

private:
    std::uint64_t m_hash = 14695981039346656037U;
    std::size_t m_count = 0;
};

/// The client's side of one session, step by step. Steps behind one that ended the session end,
/// too.
class Talk
{
public:
    /// Takes over the descriptor.
    explicit Talk(int descriptor);
    Talk(Talk const&) = delete;
    Talk& operator=(Talk const&) = delete;
    ~Talk();

    client::Engine& engine() { return m_engine; }
    /// The connection itself, for what the engine has no call for. It may be used where the engine
    /// has no answer to wait for.
    client::EngineSocket& socket() { return m_socket; }

    /// Of steps of the same name each gets its number.
    void step(std::string const& what, std::function<void(Digest&)> const& action);
    /// Loads; what the loader told the user makes it a refused step.
    void load(std::vector<std::string> const& paths);
    void close();

    std::vector<Step> takeSteps() { return std::move(m_steps); }

private:
    void take(Step step) { m_steps.push_back(std::move(step)); }

    client::Engine m_engine;
    client::EngineSocket m_socket;
    std::vector<Step> m_steps;
    std::map<std::string, int> m_numbers;
    bool m_hasEnded = false;
};

}
