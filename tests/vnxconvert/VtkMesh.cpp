#include "tests/vnxconvert/VtkMesh.h"

#include <vtkCell.h>
#include <vtkCellData.h>
#include <vtkDataArray.h>
#include <vtkDataSet.h>
#include <vtkIdList.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkPointSet.h>
#include <vtkPoints.h>
#include <vtkRectilinearGrid.h>
#include <vtkStructuredGrid.h>
#include <vtkXMLGenericDataObjectReader.h>

#include <stdexcept>

namespace varnox::convert::tests {

namespace {

FieldDataType_e typeOf(int vtkType)
{
    switch (vtkType) {
    case VTK_FLOAT:
        return FieldDataType_Float;
    case VTK_INT:
    case VTK_UNSIGNED_SHORT:
        return FieldDataType_Int32;
    case VTK_SHORT:
    case VTK_CHAR:
    case VTK_SIGNED_CHAR:
        return FieldDataType_Int16;
    case VTK_UNSIGNED_CHAR:
        return FieldDataType_Byte;
    default:
        return FieldDataType_Double;
    }
}

void take(Mesh& mesh, vtkDataSetAttributes& attributes, bool atCells)
{
    for (int a = 0; a < attributes.GetNumberOfArrays(); ++a) {
        vtkDataArray& array = *attributes.GetArray(a);
        if (std::string(array.GetName()) == "vtkGhostType")
            continue;
        int const size = array.GetNumberOfComponents();
        for (int c = 0; c < size; ++c) {
            std::string name = array.GetName();
            if (size > 1)
                name += std::string("_") + "xyz"[c];
            if (atCells && mesh.atNodes.count(name) != 0)
                name += "_cell";
            std::vector<double>& values = (atCells ? mesh.atCells : mesh.atNodes)[name];
            for (vtkIdType t = 0; t < array.GetNumberOfTuples(); ++t)
                values.push_back(array.GetComponent(t, c));
            mesh.types[name] = typeOf(array.GetDataType());
        }
    }
}

void takeCoordinates(Mesh& mesh, vtkDataSet& data)
{
    FieldDataType_e types[3] = {FieldDataType_Double, FieldDataType_Double, FieldDataType_Double};
    if (auto* const points = vtkPointSet::SafeDownCast(&data))
        types[0] = types[1] = types[2] = typeOf(points->GetPoints()->GetDataType());
    if (auto* const axes = vtkRectilinearGrid::SafeDownCast(&data)) {
        types[0] = typeOf(axes->GetXCoordinates()->GetDataType());
        types[1] = typeOf(axes->GetYCoordinates()->GetDataType());
        types[2] = typeOf(axes->GetZCoordinates()->GetDataType());
    }
    for (int axis = 0; axis < 3; ++axis) {
        std::string const name(1, "XYZ"[axis]);
        mesh.types[name] = types[axis];
        for (vtkIdType n = 0; n < data.GetNumberOfPoints(); ++n)
            mesh.atNodes[name].push_back(data.GetPoint(n)[axis]);
    }
}

void takeSize(Mesh& mesh, vtkDataSet& data)
{
    int size[3] = {0, 0, 0};
    if (auto* const image = vtkImageData::SafeDownCast(&data))
        image->GetDimensions(size);
    else if (auto* const axes = vtkRectilinearGrid::SafeDownCast(&data))
        axes->GetDimensions(size);
    else if (auto* const structured = vtkStructuredGrid::SafeDownCast(&data))
        structured->GetDimensions(size);
    else
        return;
    mesh.isOrdered = true;
    mesh.size.assign(size, size + 3);
}

}

Mesh readWithVtk(std::string const& path)
{
    vtkNew<vtkXMLGenericDataObjectReader> reader;
    reader->SetFileName(path.c_str());
    reader->Update();
    auto* const data = vtkDataSet::SafeDownCast(reader->GetOutput());
    if (data == nullptr)
        throw std::runtime_error("VTK doesn't read " + path);
    Mesh mesh;
    takeSize(mesh, *data);
    take(mesh, *data->GetPointData(), false);
    take(mesh, *data->GetCellData(), true);
    takeCoordinates(mesh, *data);
    for (vtkIdType c = 0; c < data->GetNumberOfCells() && !mesh.isOrdered; ++c) {
        vtkIdList& nodes = *data->GetCell(c)->GetPointIds();
        mesh.cells.emplace_back();
        for (vtkIdType n = 0; n < nodes.GetNumberOfIds(); ++n)
            mesh.cells.back().push_back(static_cast<std::uint32_t>(nodes.GetId(n)));
    }
    return mesh;
}

}
