#include "expressions/Scanner.h"
#include "fuzz/support/Bytes.h"
#include "fuzz/support/Entry.h"

#include <stdexcept>

namespace {

using varnox::Scanner;
using varnox::fuzz::Bytes;
using varnox::fuzz::expect;

void step(Scanner& scanner, std::uint8_t operation, std::size_t& numSaved)
{
    switch (operation % 24) {
    case 0:
        scanner.nextToken();
        break;
    case 1:
        scanner.nextToken(',');
        break;
    case 2:
        scanner.peekNextToken("\"\n");
        break;
    case 3:
        scanner.hasNextInt64Token();
        break;
    case 4:
        scanner.hasNextDoubleToken();
        break;
    case 5:
        scanner.nextInt64Token();
        break;
    case 6:
        scanner.nextDoubleToken();
        break;
    case 7:
        scanner.nextInt64();
        break;
    case 8:
        scanner.nextDouble();
        break;
    case 9:
        scanner.nextLine();
        break;
    case 10:
        scanner.hasNextLine();
        break;
    case 11:
        scanner.findInLine("ab");
        break;
    case 12:
        scanner.find("b");
        break;
    case 13:
        scanner.skipTokens(operation / 24U);
        break;
    case 14:
        scanner.skipWhitespace();
        break;
    case 15:
        scanner.skipDelimiters(Scanner::newlineDelimiters);
        break;
    case 16:
        scanner.nextChar();
        break;
    case 17:
        scanner.peekNext(operation / 24U);
        break;
    case 18:
        scanner.next(operation / 24U);
        break;
    case 19:
        scanner.peekRemaining();
        break;
    case 20:
        scanner.hasNextTokenContaining("b");
        scanner.hasNextTokenEndingWith("1");
        break;
    case 21:
        scanner.savePosition();
        ++numSaved;
        break;
    case 22:
        if (numSaved > 0) {
            --numSaved;
            scanner.restorePosition();
        }
        break;
    default:
        if (numSaved > 0) {
            --numSaved;
            scanner.eraseToPosition();
        }
        break;
    }
}

}

// An input: uint8 number of operations, the operations, the text.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    Bytes input(data, size);
    auto const numOperations = input.take<std::uint8_t>();
    std::string const operations = input.string(numOperations);
    Scanner scanner(input.rest());
    std::size_t numSaved = 0;
    for (char const operation : operations) {
        try {
            step(scanner, static_cast<std::uint8_t>(operation), numSaved);
        } catch (std::out_of_range const&) {
            expect(scanner.position() > scanner.source().size(),
                   "a position inside the text is out of range");
        }
    }
    return 0;
}
