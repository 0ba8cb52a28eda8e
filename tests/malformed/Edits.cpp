#include "tests/malformed/Edits.h"

#include "tests/malformed/FilePlaces.h"
#include "tests/support/RecordingSocket.h"
#include "tests/support/Wire.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <functional>
#include <map>
#include <stdexcept>

namespace varnox::malformed {

namespace {

namespace wire = tests::wire;

[[noreturn]] void fail(std::string const& what)
{
    throw std::runtime_error(what);
}

/// A text in quotes, with what stands behind its end, or a word.
struct Token
{
    bool isText = false;
    std::string text;
    std::string suffix;
};

char escaped(std::string const& line, std::size_t& at)
{
    char const c = line.at(++at);
    if (c == 'n')
        return '\n';
    if (c == 'r')
        return '\r';
    if (c != 'x')
        return c;
    at += 2;
    return static_cast<char>(std::stoi(line.substr(at - 1, 2), nullptr, 16));
}

std::vector<Token> tokensOf(std::string const& line)
{
    std::vector<Token> result;
    std::size_t at = 0;
    while ((at = line.find_first_not_of(' ', at)) != std::string::npos) {
        Token token;
        token.isText = line[at] == '"';
        if (token.isText) {
            for (++at; line.at(at) != '"'; ++at)
                token.text += line[at] == '\\' ? escaped(line, at) : line[at];
            ++at;
        }
        std::size_t const end = std::min(line.find(' ', at), line.size());
        (token.isText ? token.suffix : token.text) = line.substr(at, end - at);
        result.push_back(token);
        at = end;
    }
    return result;
}

/// What of a text file may stand in a place of its own.
constexpr char BLANKS[] = " \r\n";

/// Where the n-th occurrence begins; from the end if n is negative.
std::size_t occurrence(std::string const& bytes, long n, std::string const& what,
                       std::function<std::size_t(std::size_t)> const& find)
{
    std::vector<std::size_t> all;
    for (std::size_t at = 0; (at = find(at)) != std::string::npos; ++at)
        all.push_back(at);
    auto const count = static_cast<long>(all.size());
    long const index = n > 0 ? n - 1 : count + n;
    if (index < 0 || index >= count)
        fail("there is no " + std::to_string(n) + ". '" + what + "' in " +
             std::to_string(bytes.size()) + " bytes");
    return all[static_cast<std::size_t>(index)];
}

class Editor
{
public:
    explicit Editor(std::string& bytes) : m_bytes(bytes) {}

    void apply(std::string const& line)
    {
        m_tokens = tokensOf(line);
        m_next = 0;
        std::string const verb = word();
        static std::map<std::string, void (Editor::*)()> const verbs{
            {"put", &Editor::put},     {"insert", &Editor::insert}, {"erase", &Editor::erase},
            {"cut", &Editor::cut},     {"add", &Editor::add},       {"drop", &Editor::drop},
            {"twice", &Editor::twice}, {"say", &Editor::say},       {"reword", &Editor::reword}};
        auto const found = verbs.find(verb);
        if (found == verbs.end())
            fail("there is no edit '" + verb + "'");
        (this->*found->second)();
        if (m_next != m_tokens.size())
            fail("nothing is known of '" + m_tokens[m_next].text + "'");
    }

private:
    Token const& token()
    {
        if (m_next == m_tokens.size())
            fail("the edit ends early");
        return m_tokens[m_next++];
    }
    std::string const& word() { return token().text; }
    bool isAtEnd() const { return m_next == m_tokens.size(); }

    // Places and values.

    /// "+3-1"
    static std::uint64_t sumOf(std::string const& suffix)
    {
        std::uint64_t result = 0;
        for (std::size_t at = 0; at < suffix.size();) {
            std::size_t end = 0;
            unsigned long const number = std::stoul(suffix.substr(at + 1), &end, 0);
            result += suffix[at] == '-' ? -number : number;
            at += 1 + end;
        }
        return result;
    }

    /// Where a word's sum begins: a sign outside of parentheses.
    static std::size_t sumIn(std::string const& text)
    {
        int depth = 0;
        for (std::size_t at = 1; at < text.size(); ++at) {
            depth += text[at - 1] == '(' ? 1 : 0;
            depth -= text[at] == ')' ? 1 : 0;
            if (depth == 0 && (text[at] == '+' || text[at] == '-'))
                return at;
        }
        return text.size();
    }

    std::uint64_t atom(std::string const& text) const
    {
        if (text == "end")
            return m_bytes.size();
        if (text[0] == '@')
            return FilePlaces(m_bytes).wordAt(atom(text.substr(1)));
        if (text[0] == '(')
            return place(text.substr(1, text.size() - 2));
        if (std::isdigit(static_cast<unsigned char>(text[0])) != 0)
            return std::stoul(text, nullptr, 0);
        return FilePlaces(m_bytes).of(text);
    }

    std::uint64_t place(std::string const& text) const
    {
        std::size_t const sum = sumIn(text);
        return atom(text.substr(0, sum)) + sumOf(text.substr(sum));
    }

    std::size_t place()
    {
        Token const& name = token();
        std::uint64_t result = 0;
        if (name.isText) {
            std::size_t const sum =
                std::min(name.suffix.find_first_of("+-", 2), name.suffix.size());
            long const n = name.suffix.starts_with('#') ? std::stol(name.suffix.substr(1)) : 1;
            std::size_t const suffix = name.suffix.starts_with('#') ? sum : 0;
            result = occurrence(m_bytes, n, name.text,
                                [&](std::size_t from) { return m_bytes.find(name.text, from); }) +
                     name.text.size() + sumOf(name.suffix.substr(suffix));
        } else {
            result = place(name.text);
        }
        if (result > m_bytes.size())
            fail("there is no place " + name.text);
        return result;
    }

    std::uint64_t value(std::string const& text) const
    {
        if (text.starts_with("2^")) {
            std::size_t const sum = sumIn(text);
            return (std::uint64_t{1} << std::stoul(text.substr(2, sum - 2))) +
                   sumOf(text.substr(sum));
        }
        if (text[0] == '-')
            return static_cast<std::uint64_t>(std::stol(text, nullptr, 0));
        return text[0] == '&' ? place(text.substr(1)) : place(text);
    }

    // Items.

    std::string item(std::string const& type)
    {
        if (type == "f32")
            return wire::f32(std::strtof(word().c_str(), nullptr));
        if (type == "f64")
            return wire::f64(std::strtod(word().c_str(), nullptr));
        if (type == "text")
            return wire::text(word());
        if (type == "bytes")
            return word();
        if (type == "hex")
            return tests::hex(word());
        if (type == "fill") {
            std::uint64_t const count = value(word());
            return std::string(count, static_cast<char>(value(word())));
        }
        static std::map<std::string, std::size_t> const sizes{{"u8", 1},  {"u16", 2},  {"u32", 4},
                                                              {"u64", 8}, {"i32", 4},  {"i64", 8},
                                                              {"int", 4}, {"count", 8}};
        auto const size = sizes.find(type);
        if (size == sizes.end())
            fail("there is no item '" + type + "'");
        return wire::littleEndian(value(word()), size->second);
    }

    std::string items()
    {
        std::string result;
        do {
            std::string const type = word();
            if (type == "vec" || type == "texts") {
                std::string const element = type == "vec" ? word() : "text";
                std::vector<std::string> elements;
                while (!isAtEnd())
                    elements.push_back(item(element));
                result += wire::vec(elements);
            } else {
                result += item(type);
            }
        } while (!isAtEnd());
        return result;
    }

    // Edits.

    void put()
    {
        std::size_t const at = place();
        std::string const what = items();
        if (what.size() > m_bytes.size() - at)
            fail("there is no room to put something to " + std::to_string(at));
        m_bytes.replace(at, what.size(), what);
    }

    void insert()
    {
        std::size_t const at = place();
        m_bytes.insert(at, items());
    }

    void erase()
    {
        std::size_t const at = place();
        m_bytes.erase(at, value(word()));
    }

    void cut() { m_bytes.resize(place()); }
    void add() { m_bytes += items(); }

    /// Numbers and values of a list, as bytes.
    void drop()
    {
        std::string const tag = word();
        FilePlaces const places(m_bytes);
        FilePlaces::TagList const list = places.listOf(tag);
        std::size_t const index = places.indexOf(tag);
        std::string numbers = m_bytes.substr(list.start + 2, 2 * list.count);
        std::string values = m_bytes.substr(list.start + 2 + 2 * list.count, 8 * list.count);
        numbers.erase(2 * index, 2);
        values.erase(8 * index, 8);
        std::string const shorter = wire::u16(list.count - 1) + numbers + values;
        m_bytes.replace(list.start, shorter.size(), shorter);
    }

    void twice()
    {
        std::string const tag = word();
        std::uint64_t const again = value(word());
        FilePlaces const places(m_bytes);
        FilePlaces::TagList const list = places.listOf(tag);
        std::string const numbers = m_bytes.substr(list.start + 2, 2 * list.count);
        std::string const values = m_bytes.substr(list.start + 2 + 2 * list.count, 8 * list.count);
        std::string const number = numbers.substr(2 * places.indexOf(tag), 2);
        m_bytes.replace(list.leadsTo, 8, wire::u64(m_bytes.size()));
        m_bytes += wire::u16(list.count + 1) + numbers + number + values + wire::u64(again);
    }

    /// Where a description of a text file begins.
    std::size_t description(std::string const& wordAndNumber) const
    {
        std::size_t const hash = std::min(wordAndNumber.find('#'), wordAndNumber.size());
        std::string const name = wordAndNumber.substr(0, hash);
        long const n = hash == wordAndNumber.size() ? 1 : std::stol(wordAndNumber.substr(hash + 1));
        return occurrence(m_bytes, n, name, [&](std::size_t from) {
            for (std::size_t at = from; (at = m_bytes.find(name, at)) != std::string::npos; ++at) {
                std::size_t const end = at + name.size();
                if ((at == 0 || m_bytes[at - 1] == '\n') && end < m_bytes.size() &&
                    std::string(BLANKS).find(m_bytes[end]) != std::string::npos)
                    return at;
            }
            return std::string::npos;
        });
    }

    /// The word from a place on makes room for another in its columns.
    void overwrite(std::size_t at, std::string text)
    {
        std::size_t const end = std::min(m_bytes.find_first_of(BLANKS, at), m_bytes.size());
        std::size_t const room = std::min(m_bytes.find_first_not_of(' ', end), m_bytes.size());
        if (text.size() > room - at)
            fail("there is no room for " + text);
        text.resize(std::max(text.size(), end - at), ' ');
        m_bytes.replace(at, text.size(), text);
    }

    void say()
    {
        std::size_t at = description(word());
        for (unsigned long k = value(word()); k > 0; --k) {
            at = m_bytes.find_first_of(BLANKS, at);
            at = std::min(m_bytes.find_first_not_of(BLANKS, at), m_bytes.size());
        }
        overwrite(at, word());
    }

    void reword()
    {
        std::size_t const at = description(word());
        overwrite(at, word());
    }

    std::string& m_bytes;
    std::vector<Token> m_tokens;
    std::size_t m_next = 0;
};

}

std::string edited(std::string bytes, std::vector<std::string> const& edits)
{
    for (std::string const& edit : edits)
        try {
            Editor(bytes).apply(edit);
        } catch (std::exception const& error) {
            fail("The edit '" + edit + "' can't be made: " + error.what() + ".");
        }
    return bytes;
}

}
