// Reads VTK's XML and legacy files. All that knows VTK is here.

#include "tools/vnxconvert/CellKinds.h"
#include "tools/vnxconvert/FileReaders.h"
#include "tools/vnxconvert/Remarks.h"
#include "tools/vnxconvert/Staging.h"
#include "tools/vnxconvert/Variables.h"

#include <vtkAbstractArray.h>
#include <vtkBitArray.h>
#include <vtkCallbackCommand.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkCompositeDataSet.h>
#include <vtkDataArray.h>
#include <vtkDataArraySelection.h>
#include <vtkDataObjectTreeIterator.h>
#include <vtkDataSetAttributes.h>
#include <vtkFieldData.h>
#include <vtkGenericDataObjectReader.h>
#include <vtkIdTypeArray.h>
#include <vtkImageData.h>
#include <vtkInformation.h>
#include <vtkLogger.h>
#include <vtkMatrix3x3.h>
#include <vtkMultiBlockDataSet.h>
#include <vtkNew.h>
#include <vtkObjectFactory.h>
#include <vtkOutputWindow.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkPolyData.h>
#include <vtkRectilinearGrid.h>
#include <vtkSmartPointer.h>
#include <vtkStructuredGrid.h>
#include <vtkTypeInt64Array.h>
#include <vtkUnsignedCharArray.h>
#include <vtkUnstructuredGrid.h>
#include <vtkXMLImageDataReader.h>
#include <vtkXMLMultiBlockDataReader.h>
#include <vtkXMLPImageDataReader.h>
#include <vtkXMLPPolyDataReader.h>
#include <vtkXMLPRectilinearGridReader.h>
#include <vtkXMLPStructuredGridReader.h>
#include <vtkXMLPUnstructuredGridReader.h>
#include <vtkXMLPolyDataReader.h>
#include <vtkXMLRectilinearGridReader.h>
#include <vtkXMLStructuredGridReader.h>
#include <vtkXMLUnstructuredGridReader.h>

#include <array>
#include <csignal>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>

#include <unistd.h>

namespace varnox::convert {

namespace {

/// Keeps what VTK has to say, which would else go to standard error.
class MessageCollector : public vtkOutputWindow
{
public:
    static MessageCollector* New();
    vtkTypeMacro(MessageCollector, vtkOutputWindow);
    MessageCollector(MessageCollector const&) = delete;
    MessageCollector& operator=(MessageCollector const&) = delete;

    void DisplayText(char const*) override {}
    void DisplayErrorText(char const* text) override
    {
        if (m_firstError.empty())
            m_firstError = text;
    }
    void DisplayWarningText(char const*) override {}
    void DisplayGenericWarningText(char const*) override {}
    void DisplayDebugText(char const*) override {}

    std::string const& firstError() const { return m_firstError; }

protected:
    MessageCollector() = default;
    ~MessageCollector() override = default;

private:
    std::string m_firstError;
};
vtkStandardNewMacro(MessageCollector);

/// "ERROR: In file, line\nClass (address): what happened\n\n": what happened, on one line.
std::string reasonIn(std::string const& message)
{
    std::size_t const behindAddress = message.find("): ");
    std::string result =
        behindAddress == std::string::npos ? message : message.substr(behindAddress + 3);
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20)
            c = ' ';
    while (!result.empty() && (result.back() == ' ' || result.back() == '.'))
        result.pop_back();
    return result + ".";
}

/// Memory of a VTK object, which lives as long as somebody has it.
template <typename T>
std::shared_ptr<T const> kept(T const* memory, vtkObjectBase* owner)
{
    vtkSmartPointer<vtkObjectBase> const keeper(owner);
    return {memory, [keeper](T const*) {}};
}

std::shared_ptr<void const> keptBytes(void const* memory, vtkObjectBase* owner)
{
    vtkSmartPointer<vtkObjectBase> const keeper(owner);
    return {memory, [keeper](void const*) {}};
}

/// Of an array of 64-bit integers, whatever these are called.
std::shared_ptr<std::int64_t const> keptIntegers(vtkDataArray& array)
{
    static_assert(sizeof(vtkIdType) == sizeof(std::int64_t));
    return kept<std::int64_t>(static_cast<std::int64_t const*>(array.GetVoidPointer(0)), &array);
}

NumberType signedOfWidth(std::size_t width)
{
    return width == 1   ? NumberType::Int8
           : width == 2 ? NumberType::Int16
           : width == 4 ? NumberType::Int32
                        : NumberType::Int64;
}

NumberType unsignedOfWidth(std::size_t width)
{
    return width == 1   ? NumberType::UInt8
           : width == 2 ? NumberType::UInt16
           : width == 4 ? NumberType::UInt32
                        : NumberType::UInt64;
}

NumberType numberTypeOf(vtkDataArray& array)
{
    auto const width = static_cast<std::size_t>(array.GetDataTypeSize());
    switch (array.GetDataType()) {
    case VTK_FLOAT:
        return NumberType::Float;
    case VTK_DOUBLE:
        return NumberType::Double;
    case VTK_UNSIGNED_CHAR:
    case VTK_UNSIGNED_SHORT:
    case VTK_UNSIGNED_INT:
    case VTK_UNSIGNED_LONG:
    case VTK_UNSIGNED_LONG_LONG:
        return unsignedOfWidth(width);
    default:
        return signedOfWidth(width);
    }
}

/// The components of an array.
std::vector<Column> columnsOf(vtkDataArray& given)
{
    auto const numComponents = static_cast<std::size_t>(given.GetNumberOfComponents());
    auto const numTuples = static_cast<std::size_t>(given.GetNumberOfTuples());
    std::vector<Column> result(numComponents);
    if (auto* const bits = vtkBitArray::SafeDownCast(&given)) {
        for (std::size_t c = 0; c < numComponents; ++c) {
            std::vector<std::uint8_t> bytes(numTuples);
            for (std::size_t t = 0; t < numTuples; ++t)
                bytes[t] = bits->GetValue(static_cast<vtkIdType>(t * numComponents + c)) != 0;
            result[c] = columnOf(NumberType::Bit, std::move(bytes));
        }
        return result;
    }
    vtkSmartPointer<vtkDataArray> array(&given);
    if (!given.HasStandardMemoryLayout()) {
        array =
            vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(given.GetDataType()));
        array->DeepCopy(&given);
    }
    NumberType const type = numberTypeOf(*array);
    auto const* const bytes = static_cast<unsigned char const*>(array->GetVoidPointer(0));
    for (std::size_t c = 0; c < numComponents; ++c)
        result[c] = {type, keptBytes(bytes + c * widthOf(type), array), numComponents, numTuples};
    return result;
}

/// Cells that stand in another piece, too, or are blanked.
std::optional<Column> hiddenCellsOf(vtkDataSetAttributes& attributes)
{
    auto* const ghosts = vtkUnsignedCharArray::SafeDownCast(
        attributes.GetAbstractArray(vtkDataSetAttributes::GhostArrayName()));
    if (ghosts == nullptr)
        return std::nullopt;
    constexpr int HIDDEN = vtkDataSetAttributes::DUPLICATECELL | vtkDataSetAttributes::HIDDENCELL;
    std::vector<std::uint8_t> result(static_cast<std::size_t>(ghosts->GetNumberOfTuples()));
    for (std::size_t i = 0; i < result.size(); ++i)
        result[i] = (ghosts->GetValue(static_cast<vtkIdType>(i)) & HIDDEN) != 0;
    return columnOf(NumberType::UInt8, std::move(result));
}

std::string nameOf(vtkAbstractArray& array, int number)
{
    if (array.GetName() != nullptr && array.GetName()[0] != '\0')
        return array.GetName();
    return "array_" + std::to_string(number + 1);
}

void addFields(Grid& grid, vtkDataSetAttributes& attributes, ValueLocation location,
               ReadOptions const& options)
{
    for (int i = 0; i < attributes.GetNumberOfArrays(); ++i) {
        vtkAbstractArray& abstract = *attributes.GetAbstractArray(i);
        std::string const name = nameOf(abstract, i);
        if (name == vtkDataSetAttributes::GhostArrayName() ||
            (options.wants && !options.wants(name)))
            continue;
        auto* const array = vtkDataArray::SafeDownCast(&abstract);
        if (array == nullptr) {
            grid.remarks.push_back("'" + name + "' left out, as it holds no numbers.");
            continue;
        }
        std::vector<Column> const columns = columnsOf(*array);
        for (std::size_t c = 0; c < columns.size(); ++c) {
            char const* const component = array->GetComponentName(static_cast<vtkIdType>(c));
            grid.fields.push_back(
                {componentName(name, c, columns.size(), component != nullptr ? component : ""),
                 name, location, columns[c]});
        }
    }
}

std::optional<double> timeOf(vtkDataObject& data)
{
    vtkFieldData* const fields = data.GetFieldData();
    if (fields == nullptr)
        return std::nullopt;
    for (char const* const name : {"TimeValue", "TIME"})
        if (auto* const array = fields->GetArray(name))
            if (array->GetNumberOfValues() > 0)
                return array->GetComponent(0, 0);
    return std::nullopt;
}

void takePoints(Grid& grid, vtkPoints* points)
{
    if (points == nullptr)
        return;
    std::vector<Column> const columns = columnsOf(*points->GetData());
    for (std::size_t axis = 0; axis < 3; ++axis)
        grid.points.columns[axis] = columns.at(axis);
    grid.numNodes = static_cast<std::size_t>(points->GetNumberOfPoints());
}

void takeSize(Grid& grid, int const* dimensions)
{
    grid.isOrdered = true;
    for (std::size_t axis = 0; axis < 3; ++axis)
        grid.size[axis] = static_cast<std::uint64_t>(std::max(0, dimensions[axis]));
}

void takeImage(Grid& grid, vtkImageData& image)
{
    takeSize(grid, image.GetDimensions());
    grid.numNodes = static_cast<std::size_t>(image.GetNumberOfPoints());
    grid.points.kind = Points::Kind::Uniform;
    std::copy_n(image.GetOrigin(), 3, grid.points.origin.begin());
    std::copy_n(image.GetSpacing(), 3, grid.points.spacing.begin());
    std::copy_n(image.GetDirectionMatrix()->GetData(), 9, grid.points.direction.begin());
    for (std::size_t axis = 0; axis < 3; ++axis)
        grid.points.firstIndex[axis] = image.GetExtent()[2 * axis];
}

void takeRectilinear(Grid& grid, vtkRectilinearGrid& given)
{
    takeSize(grid, given.GetDimensions());
    grid.numNodes = static_cast<std::size_t>(given.GetNumberOfPoints());
    grid.points.kind = Points::Kind::Axes;
    vtkDataArray* const axes[] = {given.GetXCoordinates(), given.GetYCoordinates(),
                                  given.GetZCoordinates()};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        grid.points.columns[axis] = columnsOf(*axes[axis]).at(0);
        if (grid.points.columns[axis].count < grid.size[axis])
            throw std::runtime_error("an axis has fewer coordinates than nodes.");
    }
}

/// The nodes of cells as VTK has them, in 64 bits.
void takeNodes(Cells& cells, vtkCellArray& given)
{
    given.ConvertTo64BitStorage();
    vtkTypeInt64Array& offsets = *given.GetOffsetsArray64();
    vtkTypeInt64Array& nodes = *given.GetConnectivityArray64();
    cells.count = static_cast<std::size_t>(given.GetNumberOfCells());
    cells.offsets = keptIntegers(offsets);
    cells.nodes = keptIntegers(nodes);
    cells.numNodes = static_cast<std::size_t>(nodes.GetNumberOfValues());
}

void takeUnstructured(Grid& grid, vtkUnstructuredGrid& given)
{
    takePoints(grid, given.GetPoints());
    if (given.GetCells() == nullptr || given.GetNumberOfCells() == 0)
        return;
    takeNodes(grid.cells, *given.GetCells());
    vtkUnsignedCharArray& kinds = *given.GetCellTypesArray();
    if (static_cast<std::size_t>(kinds.GetNumberOfValues()) < grid.cells.count)
        throw std::runtime_error("there are fewer types than cells.");
    grid.cells.kinds = kept<std::uint8_t>(kinds.GetPointer(0), &kinds);
    vtkIdTypeArray* const faces = given.GetFaces();
    vtkIdTypeArray* const places = given.GetFaceLocations();
    if (faces == nullptr || places == nullptr)
        return;
    if (static_cast<std::size_t>(places->GetNumberOfValues()) < grid.cells.count)
        throw std::runtime_error("some polyhedra have no faces.");
    grid.cells.faceOffsets = keptIntegers(*places);
    grid.cells.faces = keptIntegers(*faces);
    grid.cells.numFaceEntries = static_cast<std::size_t>(faces->GetNumberOfValues());
}

/// VTK keeps cells of a surface by kind, in this order; values at cells follow it.
void takeSurface(Grid& grid, vtkPolyData& given)
{
    takePoints(grid, given.GetPoints());
    struct Group
    {
        vtkCellArray* cells;
        std::uint8_t one;  ///< Its kind with few nodes,
        std::uint8_t many; ///< and with more than
        std::int64_t few;
    };
    constexpr std::uint8_t VERTEX = 1;
    constexpr std::uint8_t VERTICES = 2;
    Group const groups[] = {{given.GetVerts(), VERTEX, VERTICES, 1},
                            {given.GetLines(), LINE, POLYLINE, 2},
                            {given.GetPolys(), POLYGON, POLYGON, 0},
                            {given.GetStrips(), TRIANGLE_STRIP, TRIANGLE_STRIP, 0}};
    std::vector<std::uint8_t> kinds;
    std::vector<std::int64_t> offsets{0};
    std::vector<std::int64_t> nodes;
    for (Group const& group : groups) {
        Cells cells;
        if (group.cells != nullptr && group.cells->GetNumberOfCells() > 0)
            takeNodes(cells, *group.cells);
        for (std::size_t c = 0; c < cells.count; ++c) {
            std::int64_t const begin = cells.offsets.get()[c];
            std::int64_t const end = cells.offsets.get()[c + 1];
            if (begin < 0 || end < begin || static_cast<std::size_t>(end) > cells.numNodes)
                throw std::runtime_error("a cell lies outside of the list of nodes.");
            nodes.insert(nodes.end(), cells.nodes.get() + begin, cells.nodes.get() + end);
            offsets.push_back(static_cast<std::int64_t>(nodes.size()));
            kinds.push_back(end - begin <= group.few ? group.one : group.many);
        }
    }
    grid.cells.count = kinds.size();
    grid.cells.numNodes = nodes.size();
    grid.cells.kinds = sharedArray(std::move(kinds));
    grid.cells.offsets = sharedArray(std::move(offsets));
    grid.cells.nodes = sharedArray(std::move(nodes));
}

Grid gridOf(vtkDataSet& data, ReadOptions const& options)
{
    Grid grid;
    grid.time = timeOf(data);
    if (auto* const image = vtkImageData::SafeDownCast(&data))
        takeImage(grid, *image);
    else if (auto* const rectilinear = vtkRectilinearGrid::SafeDownCast(&data))
        takeRectilinear(grid, *rectilinear);
    else if (auto* const unstructured = vtkUnstructuredGrid::SafeDownCast(&data))
        takeUnstructured(grid, *unstructured);
    else if (auto* const surface = vtkPolyData::SafeDownCast(&data))
        takeSurface(grid, *surface);
    else if (auto* const structured = vtkStructuredGrid::SafeDownCast(&data)) {
        takePoints(grid, structured->GetPoints());
        int dimensions[3];
        structured->GetDimensions(dimensions);
        takeSize(grid, dimensions);
    } else {
        throw std::runtime_error(std::string("grids of the kind ") + data.GetClassName() +
                                 " have no place in HDQFS files.");
    }
    grid.hiddenCells = hiddenCellsOf(*data.GetCellData());
    addFields(grid, *data.GetPointData(), ValueLocation::Nodes, options);
    addFields(grid, *data.GetCellData(), ValueLocation::Cells, options);
    return grid;
}

/// The pieces of blocks in blocks, with the names of all that they are in.
void collect(vtkDataObject* data, std::string const& name, ReadOptions const& options,
             std::vector<Grid>& result)
{
    if (auto* const blocks = vtkMultiBlockDataSet::SafeDownCast(data)) {
        for (unsigned b = 0; b < blocks->GetNumberOfBlocks(); ++b) {
            vtkInformation* const about = blocks->HasMetaData(b) ? blocks->GetMetaData(b) : nullptr;
            char const* const given =
                about != nullptr ? about->Get(vtkCompositeDataSet::NAME()) : nullptr;
            std::string const own =
                given != nullptr && given[0] != '\0' ? given : "block_" + std::to_string(b + 1);
            collect(blocks->GetBlock(b), name.empty() ? own : name + "/" + own, options, result);
        }
        return;
    }
    if (data == nullptr)
        return;
    auto* const dataSet = vtkDataSet::SafeDownCast(data);
    if (dataSet == nullptr)
        throw std::runtime_error(std::string("data of the kind ") + data->GetClassName() +
                                 " have no place in HDQFS files.");
    result.push_back(gridOf(*dataSet, options));
    result.back().name = name;
}

/// What is said if VTK's readers crash, which some damaged files bring about: duplicate names of
/// arrays, faces of polyhedra. For a signal handler, which can't make text.
std::array<char, 8192> lastWords{};
constexpr std::array<int, 4> CRASHES{SIGSEGV, SIGBUS, SIGFPE, SIGABRT};

extern "C" void endWithLastWords(int)
{
    std::size_t const length = std::strlen(lastWords.data());
    bool const isSaid = ::write(STDERR_FILENO, lastWords.data(), length) >= 0;
    Staging::removeAfterCrash();
    ::_exit(isSaid ? 1 : 2);
}

/// While it lives, a crash ends this process with a message and status 1.
class CrashWords
{
public:
    explicit CrashWords(std::string const& text)
    {
        std::size_t const length = text.copy(lastWords.data(), lastWords.size() - 1);
        lastWords[length] = '\0';
        stack_t stack = {};
        stack.ss_sp = m_stack.data();
        stack.ss_size = m_stack.size();
        ::sigaltstack(&stack, &m_stackBefore); // ours may be what has come to its end
        struct sigaction action = {};
        action.sa_handler = endWithLastWords;
        action.sa_flags = SA_ONSTACK;
        for (std::size_t i = 0; i < CRASHES.size(); ++i)
            ::sigaction(CRASHES[i], &action, &m_before[i]);
    }
    CrashWords(CrashWords const&) = delete;
    CrashWords& operator=(CrashWords const&) = delete;
    ~CrashWords()
    {
        for (std::size_t i = 0; i < CRASHES.size(); ++i)
            ::sigaction(CRASHES[i], &m_before[i], nullptr);
        ::sigaltstack(&m_stackBefore, nullptr);
    }

private:
    std::array<char, std::size_t{64} * 1024> m_stack{};
    stack_t m_stackBefore = {};
    std::array<struct sigaction, CRASHES.size()> m_before{};
};

/// Passes VTK's progress on. What the callback throws may not go through VTK.
class Watch
{
public:
    Watch(vtkAlgorithm& reader, std::string const& path, ReadOptions const& options)
        : m_reader(reader), m_path(path), m_options(options)
    {
        m_command->SetClientData(this);
        m_command->SetCallback([](vtkObject*, unsigned long, void* watch, void* part) {
            static_cast<Watch*>(watch)->report(*static_cast<double const*>(part));
        });
        m_tag = reader.AddObserver(vtkCommand::ProgressEvent, m_command);
    }
    Watch(Watch const&) = delete;
    Watch& operator=(Watch const&) = delete;
    ~Watch() { m_reader.RemoveObserver(m_tag); }

    void rethrow() const
    {
        if (m_thrown)
            std::rethrow_exception(m_thrown);
    }

private:
    void report(double part)
    {
        if (!m_options.progress || m_thrown)
            return;
        try {
            m_options.progress(m_path, part);
        } catch (...) {
            m_thrown = std::current_exception();
            m_reader.SetAbortExecute(1);
        }
    }

    vtkAlgorithm& m_reader;
    std::string m_path;
    ReadOptions const& m_options;
    vtkNew<vtkCallbackCommand> m_command;
    unsigned long m_tag = 0;
    std::exception_ptr m_thrown;
};

template <typename T>
vtkSmartPointer<vtkXMLReader> make()
{
    return vtkSmartPointer<T>::New();
}

vtkSmartPointer<vtkXMLReader> xmlReaderFor(std::string const& extension)
{
    static std::map<std::string, vtkSmartPointer<vtkXMLReader> (*)()> const makers{
        {".vtu", make<vtkXMLUnstructuredGridReader>},
        {".vts", make<vtkXMLStructuredGridReader>},
        {".vti", make<vtkXMLImageDataReader>},
        {".vtr", make<vtkXMLRectilinearGridReader>},
        {".vtp", make<vtkXMLPolyDataReader>},
        {".pvtu", make<vtkXMLPUnstructuredGridReader>},
        {".pvts", make<vtkXMLPStructuredGridReader>},
        {".pvti", make<vtkXMLPImageDataReader>},
        {".pvtr", make<vtkXMLPRectilinearGridReader>},
        {".pvtp", make<vtkXMLPPolyDataReader>},
        {".vtm", make<vtkXMLMultiBlockDataReader>}};
    auto const found = makers.find(extension);
    return found == makers.end() ? nullptr : found->second();
}

void choose(vtkDataArraySelection* arrays, ReadOptions const& options)
{
    if (arrays == nullptr || !options.wants)
        return;
    for (int i = 0; i < arrays->GetNumberOfArrays(); ++i) {
        std::string const name = arrays->GetArrayName(i);
        if (name != vtkDataSetAttributes::GhostArrayName() && !options.wants(name))
            arrays->DisableArray(name.c_str());
    }
}

vtkSmartPointer<vtkAlgorithm> prepared(std::string const& path, ReadOptions const& options)
{
    if (auto reader = xmlReaderFor(extensionOf(path))) {
        reader->SetFileName(path.c_str());
        reader->UpdateInformation();
        choose(reader->GetPointDataArraySelection(), options);
        choose(reader->GetCellDataArraySelection(), options);
        return reader;
    }
    auto reader = vtkSmartPointer<vtkGenericDataObjectReader>::New();
    reader->SetFileName(path.c_str());
    reader->ReadAllScalarsOn();
    reader->ReadAllVectorsOn();
    reader->ReadAllNormalsOn();
    reader->ReadAllTensorsOn();
    reader->ReadAllColorScalarsOn();
    reader->ReadAllTCoordsOn();
    reader->ReadAllFieldsOn();
    return reader;
}

}

std::vector<Grid> readVtkFile(std::string const& path, ReadOptions const& options)
{
    static char const* const ADVICE =
        "Check that the file is complete, and open it with the program that wrote it.";
    vtkNew<MessageCollector> messages;
    vtkOutputWindow::SetInstance(messages);
    vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
    auto crashWords = std::make_unique<CrashWords>(
        "vnxconvert: Cannot read " + path + ": VTK's reader crashes on it.\n" + ADVICE + "\n");
    vtkSmartPointer<vtkAlgorithm> const reader = prepared(path, options);
    Watch const watch(*reader, path, options);
    if (messages->firstError().empty())
        reader->Update();
    crashWords.reset();
    watch.rethrow();
    if (!messages->firstError().empty())
        failReading(path, reasonIn(messages->firstError()), ADVICE);
    vtkDataObject* const data = reader->GetOutputDataObject(0);
    if (reader->GetErrorCode() != 0 || data == nullptr)
        failReading(path, "VTK finds nothing in it that it can read.", ADVICE);
    std::vector<Grid> result;
    try {
        collect(data, "", options, result);
    } catch (std::runtime_error const& error) {
        failReading(path, error.what(), ADVICE);
    }
    if (auto const time = timeOf(*data))
        for (Grid& grid : result)
            if (!grid.time)
                grid.time = time;
    return result;
}

}
