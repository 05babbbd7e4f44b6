#include "tests/plugins/mesh_samples.h"

namespace vyn::test {

std::vector<std::pair<std::string, std::string>> vtk_xml_samples() {
    return {
        {"text", R"xml(<?xml version="1.0"?>
<VTKFile type="PolyData" version="1.0" byte_order="LittleEndian" header_type="UInt64">
<PolyData>
<Piece NumberOfPoints="4" NumberOfVerts="0" NumberOfLines="0" NumberOfStrips="0" NumberOfPolys="1">
<PointData>
<DataArray type="Float64" Name="p" format="ascii" RangeMin="1" RangeMax="1e+300">
1 2 3 1e+300
</DataArray>
</PointData>
<CellData>
<DataArray type="Int32" Name="q" format="ascii" RangeMin="-5" RangeMax="-5">
-5
</DataArray>
</CellData>
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="ascii" RangeMin="0" RangeMax="1.8027756377319946">
0 0 0 1.5 0 0
1.5 1 0 0 1 0.25
</DataArray>
</Points>
<Verts>
<DataArray type="Int64" Name="connectivity" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
<DataArray type="Int64" Name="offsets" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
</Verts>
<Lines>
<DataArray type="Int64" Name="connectivity" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
<DataArray type="Int64" Name="offsets" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
</Lines>
<Strips>
<DataArray type="Int64" Name="connectivity" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
<DataArray type="Int64" Name="offsets" format="ascii" RangeMin="1e+299" RangeMax="-1e+299">
</DataArray>
</Strips>
<Polys>
<DataArray type="Int64" Name="connectivity" format="ascii" RangeMin="0" RangeMax="3">
0 1 2 3
</DataArray>
<DataArray type="Int64" Name="offsets" format="ascii" RangeMin="4" RangeMax="4">
4
</DataArray>
</Polys>
</Piece>
</PolyData>
</VTKFile>
)xml"},
        {"inline_base64", R"xml(<?xml version="1.0"?>
<VTKFile type="PolyData" version="0.1" byte_order="LittleEndian" header_type="UInt32">
<PolyData>
<Piece NumberOfPoints="4" NumberOfVerts="0" NumberOfLines="0" NumberOfStrips="0" NumberOfPolys="1">
<PointData>
<DataArray type="Float64" Name="p" format="binary" RangeMin="1" RangeMax="1e+300">
IAAAAAAAAAAAAPA/AAAAAAAAAEAAAAAAAAAIQJx1AIg85Dd+
</DataArray>
</PointData>
<CellData>
<DataArray type="Int32" Name="q" format="binary" RangeMin="-5" RangeMax="-5">
BAAAAPv///8=
</DataArray>
</CellData>
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="binary" RangeMin="0" RangeMax="1.8027756377319946">
YAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAPg/AAAAAAAAAAAAAAAAAAAAAAAAAAAAAPg/AAAAAAAA8D8AAAAAAAAAAAAAAAAAAAAAAAAAAAAA8D8AAAAAAADQPw==
</DataArray>
</Points>
<Verts>
<DataArray type="Int64" Name="connectivity" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
<DataArray type="Int64" Name="offsets" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
</Verts>
<Lines>
<DataArray type="Int64" Name="connectivity" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
<DataArray type="Int64" Name="offsets" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
</Lines>
<Strips>
<DataArray type="Int64" Name="connectivity" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
<DataArray type="Int64" Name="offsets" format="binary" RangeMin="1e+299" RangeMax="-1e+299">
AAAAAA==
</DataArray>
</Strips>
<Polys>
<DataArray type="Int64" Name="connectivity" format="binary" RangeMin="0" RangeMax="3">
IAAAAAAAAAAAAAAAAQAAAAAAAAACAAAAAAAAAAMAAAAAAAAA
</DataArray>
<DataArray type="Int64" Name="offsets" format="binary" RangeMin="4" RangeMax="4">
CAAAAAQAAAAAAAAA
</DataArray>
</Polys>
</Piece>
</PolyData>
</VTKFile>
)xml"},
        {"appended_base64_zlib", R"xml(<?xml version="1.0"?>
<VTKFile type="PolyData" version="1.0" byte_order="LittleEndian" header_type="UInt64" compressor="vtkZLibDataCompressor">
<PolyData>
<Piece NumberOfPoints="4"                    NumberOfVerts="0"                    NumberOfLines="0"                    NumberOfStrips="0"                    NumberOfPolys="1"                   >
<PointData>
<DataArray type="Float64" Name="p" format="appended" RangeMin="1"                    RangeMax="1e+300"               offset="0"                   >
</DataArray>
</PointData>
<CellData>
<DataArray type="Int32" Name="q" format="appended" RangeMin="-5"                   RangeMax="-5"                   offset="84"                  >
</DataArray>
</CellData>
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="appended" RangeMin="0"                    RangeMax="1.8027756377"         offset="144"                 >
</DataArray>
</Points>
<Verts>
<DataArray type="Int64" Name="connectivity" format="appended" RangeMin=""                     RangeMax=""                     offset="220"                 />
<DataArray type="Int64" Name="offsets" format="appended" RangeMin=""                     RangeMax=""                     offset="252"                 />
</Verts>
<Lines>
<DataArray type="Int64" Name="connectivity" format="appended" RangeMin=""                     RangeMax=""                     offset="284"                 />
<DataArray type="Int64" Name="offsets" format="appended" RangeMin=""                     RangeMax=""                     offset="316"                 />
</Lines>
<Strips>
<DataArray type="Int64" Name="connectivity" format="appended" RangeMin=""                     RangeMax=""                     offset="348"                 />
<DataArray type="Int64" Name="offsets" format="appended" RangeMin=""                     RangeMax=""                     offset="380"                 />
</Strips>
<Polys>
<DataArray type="Int64" Name="connectivity" format="appended" RangeMin=""                     RangeMax=""                     offset="412"                 />
<DataArray type="Int64" Name="offsets" format="appended" RangeMin=""                     RangeMax=""                     offset="484"                 />
</Polys>
</Piece>
</PolyData>
<AppendedData encoding="base64">
_AQAAAAAAAAAAgAAAAAAAACAAAAAAAAAAHQAAAAAAAAA=eJxjYACBD/YMEOAAoTgc5pQydNg8Ma8DADS6BSY=AQAAAAAAAAAAgAAAAAAAAAQAAAAAAAAADAAAAAAAAAA=eJz7/f//fwAJ6gP5AQAAAAAAAAAAgAAAAAAAAGAAAAAAAAAAFwAAAAAAAAA=eJxjYMAHftjjF/+AQx4mfsEeALiLBdw=AAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAgAAAAAAAAAAAAAAAAAAAAQAAAAAAAAAAgAAAAAAAACAAAAAAAAAAEwAAAAAAAAA=eJxjYIAARijNBKWZoTQAAHAABw==AQAAAAAAAAAAgAAAAAAAAAgAAAAAAAAACwAAAAAAAAA=eJxjYYAAAAAoAAU=
</AppendedData>
</VTKFile>
)xml"},
        {"inline_zlib_big_endian", R"xml(<?xml version="1.0"?>
<VTKFile type="UnstructuredGrid" version="0.1" byte_order="BigEndian" header_type="UInt32" compressor="vtkZLibDataCompressor">
<UnstructuredGrid>
<Piece NumberOfPoints="4" NumberOfCells="1">
<PointData>
<DataArray type="Float64" Name="p" format="binary" RangeMin="1" RangeMax="1e+300">
AAAAAQAAgAAAAAAgAAAAGw==eJyz/8AABg4MUJoDQteZP7HpYCidAwA/IwUm
</DataArray>
</PointData>
<CellData>
<DataArray type="Int32" Name="q" format="binary" RangeMin="-5" RangeMax="-5">
AAAAAQAAgAAAAAAEAAAADA==eJz7////bwAJ9gP5
</DataArray>
</CellData>
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="binary" RangeMin="0" RangeMax="1.8027756377319946">
AAAAAQAAgAAAAABgAAAAGg==eJxjYMAO7H/gF7f/gEMeKm5/AUIDANhIBdw=
</DataArray>
</Points>
<Cells>
<DataArray type="Int64" Name="connectivity" format="binary" RangeMin="0" RangeMax="3">
AAAAAQAAgAAAAAAgAAAAEg==eJxjYEABjFCaCUozAwAARgAH
</DataArray>
<DataArray type="Int64" Name="offsets" format="binary" RangeMin="4" RangeMax="4">
AAAAAQAAgAAAAAAIAAAADA==eJxjYAADFgAADAAF
</DataArray>
<DataArray type="UInt8" Name="types" format="binary" RangeMin="9" RangeMax="9">
AAAAAQAAgAAAAAABAAAACQ==eJzjBAAACgAK
</DataArray>
</Cells>
</Piece>
</UnstructuredGrid>
</VTKFile>
)xml"},
        {"appended_base64", R"xml(<?xml version="1.0"?>
<VTKFile type="UnstructuredGrid" version="1.0" byte_order="LittleEndian" header_type="UInt64">
<UnstructuredGrid>
<Piece NumberOfPoints="4"                    NumberOfCells="1"                   >
<PointData>
<DataArray type="Float64" Name="p" format="appended" RangeMin="1"                    RangeMax="1e+300"               offset="0"                   >
</DataArray>
</PointData>
<CellData>
<DataArray type="Int32" Name="q" format="appended" RangeMin="-5"                   RangeMax="-5"                   offset="56"                  >
</DataArray>
</CellData>
<Points>
<DataArray type="Float64" Name="Points" NumberOfComponents="3" format="appended" RangeMin="0"                    RangeMax="1.8027756377"         offset="72"                  >
</DataArray>
</Points>
<Cells>
<DataArray type="Int64" Name="connectivity" format="appended" RangeMin=""                     RangeMax=""                     offset="212"                 />
<DataArray type="Int64" Name="offsets" format="appended" RangeMin=""                     RangeMax=""                     offset="268"                 />
<DataArray type="UInt8" Name="types" format="appended" RangeMin=""                     RangeMax=""                     offset="292"                 >
</DataArray>
</Cells>
</Piece>
</UnstructuredGrid>
<AppendedData encoding="base64">
_IAAAAAAAAAAAAAAAAADwPwAAAAAAAABAAAAAAAAACECcdQCIPOQ3fg==BAAAAAAAAAD7////YAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAD4PwAAAAAAAAAAAAAAAAAAAAAAAAAAAAD4PwAAAAAAAPA/AAAAAAAAAAAAAAAAAAAAAAAAAAAAAPA/AAAAAAAA0D8=IAAAAAAAAAAAAAAAAAAAAAEAAAAAAAAAAgAAAAAAAAADAAAAAAAAAA==CAAAAAAAAAAEAAAAAAAAAA==AQAAAAAAAAAJ
</AppendedData>
</VTKFile>
)xml"},
    };
}

}  // namespace vyn::test
