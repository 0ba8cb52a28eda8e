#include "filedata/DataFileHeader.h"

#include "expressions/Scanner.h"
#include "filedata/Messages.h"
#include "filedata/ValueInput.h"

#include <array>
#include <cstring>

namespace varnox::hdqio {

namespace {

constexpr char MAGIC[] = "#!HDQFS";
constexpr char FORM_LETTERS[] = "BT";

/// The line with its line feed, which has to come within 127 bytes.
bool readFirstLine(FileReaderInterface& reader, std::string& line)
{
    std::array<char, 128> buffer;
    if (reader.fgets(buffer.data(), static_cast<int>(buffer.size())) == nullptr)
        return false;
    line = buffer.data();
    return !line.empty() && line.back() == '\n';
}

char readVersion(Scanner& scanner, std::uint32_t& version)
{
    if (!scanner.hasNextInt64Token(FORM_LETTERS))
        return errorMessage("HDQFS file has incorrect header. Version format is not correct.");
    long const number = scanner.nextInt64Token(FORM_LETTERS);
    version = static_cast<std::uint32_t>(number);
    if (number < OLDEST_FILE_VERSION)
        return errorMessage("HDQFS file is an older version %u that is no longer supported.",
                            version);
    if (number > NEWEST_FILE_VERSION)
        return errorMessage(
            "HDQFS file is an newer version %u that is not supported by the current "
            "loader. Try updating your Varnox.",
            version);
    return 1;
}

char readForm(Scanner& scanner, char& isAscii)
{
    if (!scanner.hasNextChar())
        return errorMessage("HDQFS file has incorrect header. Missing text or binary designator.");
    char const letter = scanner.nextChar();
    isAscii = letter == 'T';
    return letter == 'B' || letter == 'T' ||
           errorMessage(
               "HDQFS file has incorrect header. Cannot determine binary or text file type.");
}

char readType(Scanner& scanner, std::uint32_t version, DataFileType_e& type)
{
    type = DataFileType_Full;
    if (version < FIRST_VERSION_WITH_FILE_TYPE)
        return 1;
    char const letter = scanner.hasNextChar() ? scanner.nextChar() : '\0';
    switch (letter) {
    case 'F':
        type = DataFileType_Full;
        return 1;
    case 'G':
        type = DataFileType_Grid;
        return 1;
    case 'S':
        type = DataFileType_Solution;
        return 1;
    default:
        return errorMessage("HDQFS file has incorrect header. Expected data file type identifier.");
    }
}

std::uint32_t readRevision(Scanner& scanner)
{
    // Deliberate: a token holds no blank, so that this never matches and the revision is always 0.
    // Test: DataFileHeader.RevisionIsAlwaysZero
    if (scanner.hasNextToken() && scanner.nextToken() == " $Revision: " &&
        scanner.hasNextInt64Token())
        return static_cast<std::uint32_t>(scanner.nextInt64Token());
    return 0;
}

char readFirstLineAndJudge(FileReaderInterface& reader, FileDescription& description)
{
    if (!reader.seekToFileStart())
        return errorMessage("Can't read HDQFS file.");
    std::string line;
    if (!readFirstLine(reader, line))
        return errorMessage("HDQFS file has incorrect header. Cannot parse file header info.");
    Scanner scanner;
    scanner.reset(line);
    if (scanner.next(std::strlen(MAGIC)) != MAGIC || scanner.next(1) != " ")
        return errorMessage("HDQFS file has incorrect header. File type is not correct.");

    std::uint32_t version = 0;
    char isAscii = 0;
    DataFileType_e type = DataFileType_Full;
    if (!readVersion(scanner, version) || !readForm(scanner, isAscii) ||
        !readType(scanner, version, type))
        return 0;
    std::uint32_t const revision = readRevision(scanner);

    reader.setIsAscii(isAscii);
    reader.setDataFileType(type);
    description.setFileVersion(version);
    description.setIsAscii(isAscii);
    description.setDataFileType(type);
    description.setCodeRevision(revision);
    return 1;
}

}

char readDataFileHeader(FileReaderInterface& reader, FileDescription& description,
                        std::uint64_t& byteOrderIndicator, std::uint64_t& dataSetHeaderFileLoc)
{
    byteOrderIndicator = 0;
    dataSetHeaderFileLoc = 0;
    if (readFirstLineAndJudge(reader, description) &&
        readValue<std::uint64_t, true>(reader, byteOrderIndicator, {"fileByteOrderIndicator"}) &&
        readValue<std::uint64_t, true>(reader, dataSetHeaderFileLoc, {"dataSetHeaderFileLoc"}))
        return 1;
    byteOrderIndicator = 0;
    dataSetHeaderFileLoc = 0;
    return 0;
}

}
