// Merges one mesh into another.
#pragma once

#include "host/objects/mesh_data.h"

#include <vector>

namespace kzhost {

// Adds the elements of one mesh to another, by the flags of a merge; throws INVALIDARG for flags that do not exist.
void kzMergeMesh(CMeshData& target, const CMeshData& source, const KzMatrix4& matrix, std::uint32_t flags);

// The flags of a merge that leaves nothing out and changes nothing.
inline constexpr std::uint32_t kzMergeEverything = KZfMESHMERGE_POINT_MAPS | KZfMESHMERGE_POINT_NEWMAPS |
                                                   KZf_MESHMERGE_POLY_MATERIAL | KZf_MESHMERGE_POLY_PART |
                                                   KZf_MESHMERGE_POLY_SETS | KZf_MESHMERGE_POLY_MAPS;
// Throws INVALIDARG, with the reason in the log, for a matrix that would move points to where nothing can be.
const KzMatrix4& kzFiniteMatrix(const char* place, const KzMatrix4* matrix);
// Transforms a normal.
void kzTurnNormal(std::vector<float>& values, const KzMatrix4& matrix);

}  // namespace kzhost
