// Foreign models as parts of a document, and documents as foreign models.
#pragma once

#include "host/document/edit.h"
#include "host/models/model.h"
#include "host/objects/mesh_data.h"
#include "host/state/function_ref.h"

#include <string>
#include <vector>

namespace kzhost {

struct ModelImport {
    std::string folder;       // against which the model names files
    bool joinsPoints = true;  // vertices at one place become one point
};

// Adds what the model has, as roots. What a document cannot hold goes to the notes.
void kzAddModel(const ForeignModel& model, const ModelImport& import, CDocument& document, CEdit& edit,
                std::vector<std::string>& notes);

// The meshes, places and materials of a document. Files are named relative to the folder if they are below it. The caller
// must not hold the lock.
ForeignModel kzModelOf(CDocument& document, const std::string& folder, std::vector<std::string>& notes);

// The mesh of a model with its polygons tagged by the material. The matrix is applied to its points.
CMeshData kzMeshFrom(const ModelMesh& from, const std::string& material, bool joinsPoints, const KzMatrix4& matrix,
                     std::vector<std::string>& notes);
// One mesh for each material that the polygons name, in whose place stands the index that `materialOf` says.
std::vector<ModelMesh> kzModelMeshes(const CMeshData& from,
                                     CFunctionRef<std::uint32_t(const std::string& name)> materialOf,
                                     std::vector<std::string>& notes);

}  // namespace kzhost
