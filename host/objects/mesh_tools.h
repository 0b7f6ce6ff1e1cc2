// What edits, cuts, joins and mixes meshes, as objects. Each holds a reference to the mesh that it was made for.
#pragma once

#include "host/objects/mesh.h"

namespace kzhost {

IKzUnknown* kzMakePolygonSlice(CHostRef<CMesh> mesh);
IKzUnknown* kzMakePolygonEdit(CHostRef<CMesh> mesh);
IKzUnknown* kzMakeSolidDrill(CHostRef<CMesh> mesh);
// Throws FAILED for meshes with different elements.
IKzUnknown* kzMakeMeshBlend(CHostRef<CMesh> from, CHostRef<CMesh> to);
IKzUnknown* kzMakeBagGenerator();

// The triangles of a surface; throws the code with which it fails.
CHostRef<CMesh> kzMeshFromSurface(IKzUnknown* surface, double edgeLength);

}  // namespace kzhost
