// Nothing is trusted that the importer gives: its numbers may be none and its indices out of range.
#include "tools/Model_Converter.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "tools/Model_Extras.h"
#include "tools/Vrml_Text.h"

static bool is_finite(const aiVector3D& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

// Vectors are rows here and columns there.
static Vrml_Place place_of(const aiMatrix4x4& m) {
    Vrml_Place p;
    for (unsigned i = 0; i < 4; ++i)
        for (unsigned k = 0; k < 3; ++k) p.m[i][k] = static_cast<double>(m[k][i]);
    return p;
}

bool Model_Converter::convert() {
    shapes_.resize(scene_.mNumMeshes);
    looks_.resize(scene_.mNumMaterials);
    for (unsigned i = 0; i < scene_.mNumCameras; ++i)
        cameras_.emplace(scene_.mCameras[i]->mName.C_Str(), scene_.mCameras[i]);
    for (unsigned i = 0; i < scene_.mNumLights; ++i)
        lights_.emplace(scene_.mLights[i]->mName.C_Str(), scene_.mLights[i]);
    tell_what_has_no_place();
    if (scene_.mRootNode) convert_node(*scene_.mRootNode, Vrml_Place(), 0);
    return out_.flush();
}

void Model_Converter::tell(std::FILE* to, const char* mark) const {
    for (const auto& [what, count] : losses_)
        std::fprintf(to, "%snolt_frommodel: skipped %d: %s\n", mark, count, what.c_str());
}

void Model_Converter::tell_what_has_no_place() {
    skip("animation", static_cast<int>(scene_.mNumAnimations));
    for (unsigned i = 0; i < scene_.mNumMeshes; ++i) {
        const aiMesh& mesh = *scene_.mMeshes[i];
        skip("skin, whose mesh is in the pose of rest", mesh.mNumBones > 0);
        skip("morph target", static_cast<int>(mesh.mNumAnimMeshes));
        skip("further set of colours",
             static_cast<int>(std::max(mesh.GetNumColorChannels(), 1u)) - 1);
        skip("further set of texture points",
             static_cast<int>(std::max(mesh.GetNumUVChannels(), 1u)) - 1);
    }
}

// Places are products in double precision, rounded once: one matrix alone keeps its bits.
void Model_Converter::convert_node(const aiNode& node, const Vrml_Place& above, int depth) {
    const int deepest = 2000, most_nodes = 4'000'000;
    if (depth > deepest || ++nodes_ > most_nodes) return skip("node beyond the limit");
    const Vrml_Place place = place_of(node.mTransformation) * above;
    tell_extensions(node);
    for (unsigned i = 0; i < node.mNumMeshes; ++i) put_node(node, node.mMeshes[i], place);
    const std::string name = node.mName.C_Str();
    for (auto [at, end] = cameras_.equal_range(name); at != end; ++at)
        put_camera(*at->second, place);
    for (auto [at, end] = lights_.equal_range(name); at != end; ++at)
        put_light(*at->second, node, place);
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        convert_node(*node.mChildren[i], place, depth + 1);
}

void Model_Converter::tell_extensions(const aiNode& node) {
    const aiMetadata* const all = model_extra(node.mMetaData, "extensions");
    if (const aiMetadata* const levels = model_extra(model_extra(all, "MSFT_lod"), "ids"))
        skip("coarser level of detail", static_cast<int>(levels->mNumProperties));
    skip("node with instances, of which one is shown",
         model_extra(all, "EXT_mesh_gpu_instancing") != nullptr);
}

bool Model_Converter::is_good(const Vrml_Place& place, const char* what) {
    const bool is_good = place.is_within_single_precision(1);
    if (!is_good) skip(std::string(what) + " at a place beyond single precision");
    return is_good;
}

void Model_Converter::put_frame(const Vrml_Place& place) {
    for (int i = 0; i < 4; ++i) {
        out_.put(i == 0 ? "  frame m" : "         ");
        out_.put_numbers(place.m[i]);
        out_.put(i < 3 ? " \\\n" : "\n");
    }
}

void Model_Converter::put_node(const aiNode& node, unsigned mesh, const Vrml_Place& place) {
    if (mesh >= scene_.mNumMeshes) return skip("mesh that is not there");
    const Shape& shape = shape_of(mesh);
    if (shape.name.empty()) return; // told with the mesh
    if (!place.is_within_single_precision(shape.extent))
        return skip("node at a place beyond single precision");
    const Look& look = look_of(scene_.mMeshes[mesh]->mMaterialIndex);
    out_.put("node " + out_.new_name(node.mName.length > 0 ? node.mName.C_Str() : "node") + " {\n");
    put_frame(place);
    if (!look.material.empty()) out_.put("  material " + look.material + "\n");
    if (!look.texture.empty()) out_.put("  texture " + look.texture + "\n");
    out_.put("  geometry " + shape.name + "\n");
    if (is_gltf_) {
        const std::string url = model_text(node.mMetaData, "url");
        if (!url.empty() && vrml_is_scene_string(url)) out_.put("  url \"" + url + "\"\n");
    }
    out_.put("}\n");
}

const Model_Converter::Shape& Model_Converter::shape_of(unsigned mesh) {
    Shape& shape = shapes_[mesh];
    if (shape.is_written) return shape;
    if (const Shape* const twin = twin_of(mesh)) {
        shape = *twin;
    } else {
        write_shape(*scene_.mMeshes[mesh], shape);
        written_.emplace(scene_.mMeshes[mesh]->mName.C_Str(), mesh);
    }
    shape.is_written = true;
    return shape;
}

const Model_Converter::Shape* Model_Converter::twin_of(unsigned mesh) {
    // A hostile file has a great many of one name.
    const int most_tries = 100;
    int tries = 0;
    for (auto [at, end] = written_.equal_range(scene_.mMeshes[mesh]->mName.C_Str());
         at != end && ++tries <= most_tries; ++at)
        if (are_twins(*scene_.mMeshes[at->second], *scene_.mMeshes[mesh]))
            return &shapes_[at->second];
    return nullptr;
}

template<class T>
static bool are_equal(const T* a, const T* b, unsigned count) {
    return (!a && !b) || (a && b && std::memcmp(a, b, count * sizeof(T)) == 0);
}

bool Model_Converter::are_twins(const aiMesh& a, const aiMesh& b) const {
    const unsigned set = texture_set(a), count = a.mNumVertices;
    if (a.mPrimitiveTypes != b.mPrimitiveTypes || count != b.mNumVertices ||
        a.mNumFaces != b.mNumFaces || set != texture_set(b) ||
        !are_equal(a.mVertices, b.mVertices, count) || !are_equal(a.mNormals, b.mNormals, count) ||
        !are_equal(a.mColors[0], b.mColors[0], count) ||
        !are_equal(a.mTextureCoords[set], b.mTextureCoords[set], count))
        return false;
    for (unsigned i = 0; i < a.mNumFaces; ++i)
        if (a.mFaces[i].mNumIndices != b.mFaces[i].mNumIndices ||
            !are_equal(a.mFaces[i].mIndices, b.mFaces[i].mIndices, a.mFaces[i].mNumIndices))
            return false;
    return true;
}

static const char* list_keyword(const aiMesh& mesh) {
    if (mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE) return "trianglelist ";
    return mesh.mPrimitiveTypes & aiPrimitiveType_LINE ? "linelist " : nullptr;
}

// After the importer's steps a mesh has items of one kind.
void Model_Converter::write_shape(const aiMesh& mesh, Shape& shape) {
    const char* const keyword = list_keyword(mesh);
    // Of points alone some formats have no faces.
    if (!keyword)
        return skip("point", static_cast<int>(mesh.mNumFaces ? mesh.mNumFaces : mesh.mNumVertices));
    bool is_open = false;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace& face = mesh.mFaces[i];
        if (!is_item_good(mesh, face)) continue;
        if (!is_open) {
            // Nodes are to keep their names, which are often those of their meshes.
            shape.name = out_.new_name(std::string(mesh.mName.C_Str()) + "_mesh");
            out_.put(keyword + shape.name + " {\n");
            is_open = true;
        }
        put_item(mesh, face);
        for (unsigned c = 0; c < face.mNumIndices; ++c)
            for (unsigned k = 0; k < 3; ++k)
                shape.extent =
                    std::max(shape.extent,
                             std::fabs(static_cast<double>(mesh.mVertices[face.mIndices[c]][k])));
    }
    if (is_open) out_.put("}\n");
    skip("mesh without a good face", !is_open);
}

static aiVector3D flat_normal(const aiMesh& mesh, const aiFace& face) {
    aiVector3t<double> p[3];
    for (unsigned c = 0; c < 3; ++c) {
        const aiVector3D& v = mesh.mVertices[face.mIndices[c]];
        p[c] = {static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z)};
    }
    aiVector3t<double> n = (p[1] - p[0]) ^ (p[2] - p[0]);
    const double length = std::sqrt(n * n);
    if (!(length > 0) || !std::isfinite(length)) return {};
    return aiVector3D(static_cast<float>(n.x / length), static_cast<float>(n.y / length),
                      static_cast<float>(n.z / length));
}

// What the reader of the scene would drop goes here, where it is told.
bool Model_Converter::is_item_good(const aiMesh& mesh, const aiFace& face) {
    const unsigned corners = mesh.mPrimitiveTypes & aiPrimitiveType_TRIANGLE ? 3 : 2;
    if (face.mNumIndices != corners) {
        skip("face without its corners");
        return false;
    }
    for (unsigned c = 0; c < corners; ++c)
        if (face.mIndices[c] >= mesh.mNumVertices || !is_finite(mesh.mVertices[face.mIndices[c]])) {
            skip("face with a wrong index or a number that is none");
            return false;
        }
    const bool has_area = corners == 2 || flat_normal(mesh, face).SquareLength() > 0;
    skip("face without area", !has_area);
    return has_area;
}

void Model_Converter::put_vector(const aiVector3D& v) {
    for (const float number : {v.x, v.y, v.z}) out_.put_number(static_cast<double>(number));
}

void Model_Converter::put_attribute(const aiVector3D& v) {
    const bool is_good = is_finite(v);
    skip("colour or texture point with a number that is none", !is_good);
    put_vector(is_good ? v : aiVector3D());
}

// In the order of the scene: points, normals, colours, texture points.
void Model_Converter::put_item(const aiMesh& mesh, const aiFace& face) {
    const bool is_triangle = face.mNumIndices == 3;
    const auto put_each = [&](const char* letter, const aiVector3D* of_vertex) {
        out_.put(letter);
        for (unsigned c = 0; c < face.mNumIndices; ++c) put_attribute(of_vertex[face.mIndices[c]]);
    };
    put_each(is_triangle ? "  triangle p" : "  line p", mesh.mVertices);
    if (is_triangle) put_normals(mesh, face);
    if (const aiColor4D* const colors = mesh.mColors[0]) {
        out_.put(" c");
        for (unsigned c = 0; c < face.mNumIndices; ++c) {
            const aiColor4D& color = colors[face.mIndices[c]];
            const aiColor3D on_screen = shown({color.r, color.g, color.b});
            put_attribute({on_screen.r, on_screen.g, on_screen.b});
        }
    }
    const unsigned set = texture_set(mesh);
    if (mesh.HasTextureCoords(set)) put_each(" t", mesh.mTextureCoords[set]);
    out_.put("\n");
}

// The reader drops triangles with a normal that is too short, and those whose own gets lost in
// single precision.
void Model_Converter::put_normals(const aiMesh& mesh, const aiFace& face) {
    const float least = 1e-4f, slack = 0.01f;
    const aiVector3D flat = flat_normal(mesh, face);
    aiVector3D normals[3];
    bool is_flat = true;
    for (unsigned c = 0; c < 3; ++c) {
        normals[c] = mesh.HasNormals() ? mesh.mNormals[face.mIndices[c]] : aiVector3D();
        const float length = normals[c].Length();
        skip("normal with a number that is none", !is_finite(normals[c]));
        if (!is_finite(normals[c]) || !(length > least) || !std::isfinite(length)) {
            normals[c] = flat;
        } else {
            is_flat = false;
            if (std::fabs(length - 1) > slack) normals[c] /= length;
        }
    }
    const aiVector3D* const p = mesh.mVertices;
    const aiVector3D own =
        (p[face.mIndices[1]] - p[face.mIndices[0]]) ^ (p[face.mIndices[2]] - p[face.mIndices[0]]);
    const float square = own.SquareLength();
    if (is_flat && square > FLT_MIN && square <= FLT_MAX) return;
    out_.put(" n");
    for (const aiVector3D& n : normals) put_vector(n);
}
