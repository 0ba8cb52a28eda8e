// Converting a VTU file of bricks, against VTK's own reading of it. The counter is the time of all
// that isn't reading by the time in which VTK reads the file; no more than 2 is wanted.
// VNX_BENCH_SIDE=216 makes it ten million cells; without it there are few.

#include "tools/vnxconvert/Conversion.h"

#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkFloatArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkUnstructuredGrid.h>
#include <vtkXMLUnstructuredGridReader.h>
#include <vtkXMLUnstructuredGridWriter.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

enum Compression { None, VtksDefault };

vtkIdType side()
{
    char const* const text = std::getenv("VNX_BENCH_SIDE");
    return text != nullptr ? std::atoi(text) : 24;
}

/// Names a file and removes it.
struct File
{
    explicit File(std::string const& name)
        : path((std::filesystem::temp_directory_path() /
                ("vnxconvertbench" + std::to_string(::getpid()) + name))
                   .string())
    {
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;
    ~File() { std::filesystem::remove(path); }

    std::string const path;
};

vtkNew<vtkFloatArray> arrayOf(char const* name, int numComponents, vtkIdType count)
{
    vtkNew<vtkFloatArray> result;
    result->SetName(name);
    result->SetNumberOfComponents(numComponents);
    result->SetNumberOfTuples(count);
    for (vtkIdType i = 0; i < numComponents * count; ++i)
        result->SetValue(i, std::sin(1e-4F * static_cast<float>(i)));
    return result;
}

/// Bricks whose nodes are a little off a regular grid; a vector, a scalar and a variable at cells.
void writeBricks(std::string const& path, Compression compression)
{
    vtkIdType const n = side();
    vtkIdType const m = n + 1;
    vtkNew<vtkPoints> points;
    points->SetNumberOfPoints(m * m * m);
    for (vtkIdType i = 0; i < m * m * m; ++i) {
        auto const x = static_cast<float>(i % m);
        auto const y = static_cast<float>(i / m % m);
        points->SetPoint(i, x + 0.1F * std::sin(y), y, static_cast<float>(i / m / m));
    }
    vtkNew<vtkCellArray> cells;
    for (vtkIdType c = 0; c < n * n * n; ++c) {
        vtkIdType const a = c % n + m * (c / n % n + m * (c / n / n));
        vtkIdType const b = a + m * m;
        vtkIdType const nodes[] = {a, a + 1, a + 1 + m, a + m, b, b + 1, b + 1 + m, b + m};
        cells->InsertNextCell(8, nodes);
    }
    vtkNew<vtkUnstructuredGrid> grid;
    grid->SetPoints(points);
    constexpr int HEXAHEDRON = 12;
    grid->SetCells(HEXAHEDRON, cells);
    grid->GetPointData()->AddArray(arrayOf("U", 3, m * m * m));
    grid->GetPointData()->AddArray(arrayOf("p", 1, m * m * m));
    grid->GetCellData()->AddArray(arrayOf("T", 1, n * n * n));
    vtkNew<vtkXMLUnstructuredGridWriter> writer;
    writer->SetInputData(grid);
    writer->SetFileName(path.c_str());
    if (compression == None) {
        writer->SetCompressorTypeToNone();
        writer->EncodeAppendedDataOff();
        writer->SetHeaderTypeToUInt64();
    }
    writer->Write();
}

double secondsOfVtk(std::string const& path)
{
    auto const start = Clock::now();
    vtkNew<vtkXMLUnstructuredGridReader> reader;
    reader->SetFileName(path.c_str());
    reader->Update();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void convert(benchmark::State& state)
{
    File const input(".vtu");
    File const output(".hdqfs");
    writeBricks(input.path, static_cast<Compression>(state.range(0)));
    varnox::convert::ConversionOptions options;
    options.inputs = {input.path};
    options.output = output.path;
    options.keepOrder = state.range(1) != 0;
    double reading = 0;
    double other = 0;
    std::uint64_t numCells = 0;
    for ([[maybe_unused]] auto _ : state) {
        reading += secondsOfVtk(input.path);
        auto const summary = varnox::convert::convert(options);
        other += summary.seconds - summary.secondsOfReading;
        numCells = summary.zones.at(0).numCells;
    }
    if (numCells != static_cast<std::uint64_t>(side() * side() * side()))
        state.SkipWithError("There are other cells than were written.");
    auto const iterations = static_cast<double>(state.iterations());
    state.counters["cells"] = static_cast<double>(numCells);
    state.counters["vtk_s"] = reading / iterations;
    state.counters["other_s"] = other / iterations;
    state.counters["other_by_vtk"] = other / reading;
}

BENCHMARK(convert)
    ->ArgNames({"compressed", "keepOrder"})
    ->ArgsProduct({{None, VtksDefault}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

}
