// How a model looks becomes the one way of looking that a scene has. What the formats say in
// different ways comes together so:
//
//     scene       older formats       metal and roughness (glTF and the like)
//     ambient     ambient             a fifth of the base colour
//     diffuse     diffuse             the base colour, half of it for a whole metal
//     specular    specular            from 0.04 to the base colour, with the metal
//     shininess   the exponent        2 / roughness^4 - 2
//     emission    emission            emission times its strength
//     alpha       opacity             alpha of the base colour; 1 if alpha mode is OPAQUE, or MASK
//                                     and it reaches the cutoff, else 0
//
// All within 0 and 1, the shininess within 0 and 128. Colours of glTF are amounts of light, and
// come first to what a screen is told for them (sRGB).
#include "tools/Model_Converter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <unistd.h>

#include <assimp/GltfMaterial.h>
#include <assimp/Importer.hpp>
#include <assimp/material.h>

#include "tools/Image_Raster.h"
#include "tools/Model_Extras.h"
#include "tools/Model_Files.h"
#include "tools/Vrml_Text.h"

static const double degrees = 180 / std::numbers::pi;

static float unit(float value) {
    return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0;
}

static float shown_part(float part) {
    const auto light = static_cast<double>(part);
    const double last_linear = 0.0031308, slope = 12.92, offset = 0.055, exponent = 2.4;
    return static_cast<float>(light <= last_linear
                                  ? light * slope
                                  : (1 + offset) * std::pow(light, 1 / exponent) - offset);
}

aiColor3D Model_Converter::shown(const aiColor3D& color) const {
    if (!is_gltf_) return color;
    return {shown_part(color.r), shown_part(color.g), shown_part(color.b)};
}

void Model_Converter::put_color(const char* keyword, const aiColor3D& color) {
    out_.put("  ");
    out_.put(keyword);
    for (const float part : {color.r, color.g, color.b})
        out_.put_number(static_cast<double>(unit(part)));
    out_.put("\n");
}

const Model_Converter::Look& Model_Converter::look_of(unsigned material) {
    static const Look none;
    if (material >= scene_.mNumMaterials) return none;
    Look& look = looks_[material];
    if (look.is_written) return look;
    look.is_written = true;
    look.texture = texture_of(*scene_.mMaterials[material]);
    look.material = material_of(*scene_.mMaterials[material]);
    return look;
}

static float shininess_of(const aiMaterial& m, float roughness) {
    const float most = 128, least_roughness = 0.05f;
    float shininess = 0;
    if (roughness >= 0) {
        const float r = std::max(unit(roughness), least_roughness);
        shininess = 2 / (r * r * r * r) - 2;
    } else {
        m.Get(AI_MATKEY_SHININESS, shininess);
    }
    return std::isfinite(shininess) ? std::clamp(shininess, 0.0f, most) : 0;
}

static float alpha_of(const aiMaterial& m, const aiColor4D& base) {
    aiString mode;
    if (m.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) == AI_SUCCESS) {
        float cutoff = 0.5f;
        m.Get(AI_MATKEY_GLTF_ALPHACUTOFF, cutoff);
        if (mode == aiString("MASK")) return base.a >= cutoff ? 1 : 0;
        return mode == aiString("OPAQUE") ? 1 : base.a;
    }
    float opacity = 1;
    m.Get(AI_MATKEY_OPACITY, opacity);
    return opacity;
}

std::string Model_Converter::material_of(const aiMaterial& m) {
    const float share = 0.2f, specular_of_others = 0.04f;
    aiColor4D base(0.8f, 0.8f, 0.8f, 1);
    aiColor3D diffuse(0.8f, 0.8f, 0.8f), specular(0, 0, 0), emission(0, 0, 0);
    float metal = 0, roughness = -1, strength = 1;
    m.Get(AI_MATKEY_COLOR_DIFFUSE, diffuse);
    m.Get(AI_MATKEY_COLOR_SPECULAR, specular);
    m.Get(AI_MATKEY_COLOR_EMISSIVE, emission);
    m.Get(AI_MATKEY_EMISSIVE_INTENSITY, strength);
    m.Get(AI_MATKEY_ROUGHNESS_FACTOR, roughness);
    m.Get(AI_MATKEY_METALLIC_FACTOR, metal);
    diffuse = shown(diffuse);
    specular = shown(specular);
    if (m.Get(AI_MATKEY_BASE_COLOR, base) == AI_SUCCESS && roughness >= 0) {
        metal = unit(metal);
        const aiColor3D color = shown({base.r, base.g, base.b});
        const aiColor3D dark(specular_of_others, specular_of_others, specular_of_others);
        diffuse = color * (1 - metal / 2);
        specular = dark + (color - dark) * metal;
    }
    aiColor3D ambient = shown({base.r, base.g, base.b}) * share;
    if (roughness < 0) m.Get(AI_MATKEY_COLOR_AMBIENT, ambient = diffuse * share);
    int is_two_sided = 0;
    m.Get(AI_MATKEY_TWOSIDED, is_two_sided);
    skip("two-sided material, as all faces are seen from both sides here", is_two_sided != 0);

    aiString name;
    m.Get(AI_MATKEY_NAME, name);
    std::string result = out_.new_name(name.length > 0 ? name.C_Str() : "material");
    out_.put("material " + result + " {\n");
    put_color("ambient", ambient);
    put_color("diffuse", diffuse);
    put_color("emission", shown(emission * strength));
    put_color("specular", specular);
    out_.put("  shininess");
    out_.put_number(static_cast<double>(shininess_of(m, roughness)));
    out_.put("\n  alpha");
    out_.put_number(static_cast<double>(unit(alpha_of(m, base))));
    out_.put("\n}\n");
    return result;
}

// The path as a URL relative to the model; what lies elsewhere is looked for beside it, as files
// that moved together.
static std::string relative_url(std::string path) {
    for (char& c : path)
        if (c == '\\') c = '/';
    const bool leads_out = path.starts_with("/") || path.find(':') != std::string::npos ||
                           ("/" + path + "/").find("/../") != std::string::npos;
    if (leads_out) path.erase(0, path.find_last_of('/') + 1);
    return path.find(':') == std::string::npos ? path : std::string();
}

// What is not found goes on to the reader, which tells its name.
std::string Model_Converter::url_of(const std::string& path) {
    std::string url = relative_url(path);
    if (folder_.empty() || url.empty()) return url;
    for (const std::string& name : {url, percent_decoded(url)}) {
        if (access((folder_ + "/" + name).c_str(), F_OK) != 0) continue;
        if (!model_companion(folder_, name).empty()) return name;
        skip("texture that is no file beside the model or below");
        return {};
    }
    return url;
}

unsigned Model_Converter::texture_set(const aiMesh& mesh) const {
    int set = 0;
    if (mesh.mMaterialIndex >= scene_.mNumMaterials) return 0;
    const aiMaterial& m = *scene_.mMaterials[mesh.mMaterialIndex];
    if (m.Get(AI_MATKEY_UVWSRC(aiTextureType_BASE_COLOR, 0), set) != AI_SUCCESS)
        m.Get(AI_MATKEY_UVWSRC(aiTextureType_DIFFUSE, 0), set);
    return set > 0 && mesh.HasTextureCoords(static_cast<unsigned>(set)) ? static_cast<unsigned>(set)
                                                                        : 0;
}

std::string Model_Converter::texture_of(const aiMaterial& m) {
    for (const aiTextureType other :
         {aiTextureType_NORMALS, aiTextureType_HEIGHT, aiTextureType_EMISSIVE,
          aiTextureType_OPACITY, aiTextureType_LIGHTMAP, aiTextureType_AMBIENT_OCCLUSION,
          aiTextureType_METALNESS, aiTextureType_DIFFUSE_ROUGHNESS, aiTextureType_SPECULAR})
        skip("texture that is no colour", static_cast<int>(m.GetTextureCount(other)));
    aiString path;
    if (m.GetTexture(aiTextureType_BASE_COLOR, 0, &path) != AI_SUCCESS &&
        m.GetTexture(aiTextureType_DIFFUSE, 0, &path) != AI_SUCCESS)
        return {};
    const auto [at, is_new] = textures_.try_emplace(path.C_Str());
    if (!is_new) return at->second;
    const aiTexture* const embedded = scene_.GetEmbeddedTexture(path.C_Str());
    const std::string url = embedded ? image_of(*embedded) : url_of(path.C_Str());
    if (url.empty() || !vrml_is_scene_string(url)) {
        // What could not be stored, or lies elsewhere, has been told.
        if (!url.empty() || (!embedded && relative_url(path.C_Str()).empty()))
            skip("texture with a long, broken or foreign path");
        return {};
    }
    at->second = out_.new_name("texture");
    out_.put("texture " + at->second + " {\n  image \"" + url + "\"\n}\n");
    return at->second;
}

// The path of a file with the picture; empty, and told, if there is none.
std::string Model_Converter::image_of(const aiTexture& texture) {
    if (image_folder_.empty()) {
        skip("picture in a model without a folder for pictures");
        return {};
    }
    std::string path = image_folder_ + "/" + std::to_string(++images_);
    if (write_image(texture, path)) return path;
    skip("picture in the model that cannot be stored");
    return {};
}

// Packed ones as they are, PNG mostly; others as SGI images.
bool Model_Converter::write_image(const aiTexture& texture, const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "wxb");
    if (!file) return false;
    bool is_written = false;
    if (texture.mHeight == 0) {
        is_written = std::fwrite(texture.pcData, 1, texture.mWidth, file) == texture.mWidth;
    } else {
        const long long most_pixels = 1 << 26;
        Image_Raster raster;
        if (raster.resize(texture.mWidth, texture.mHeight, 4, most_pixels)) {
            const aiTexel* texel = texture.pcData;
            for (unsigned y = 0; y < texture.mHeight; ++y) {
                unsigned char* to = raster.row(y);
                raster.note(y);
                for (unsigned x = 0; x < texture.mWidth; ++x, ++texel)
                    for (const unsigned char part : {texel->r, texel->g, texel->b, texel->a})
                        *to++ = part;
            }
            is_written = raster.write_sgi(file);
        }
    }
    return (std::fclose(file) == 0) && is_written;
}

static aiVector3D crossed(const aiVector3D& a, const aiVector3D& b) {
    return a ^ b;
}

// A place at `at` whose -z looks along `to`, with `up` above.
static Vrml_Place looking(const aiVector3D& at, const aiVector3D& to, const aiVector3D& up) {
    aiVector3D z = -to;
    z.NormalizeSafe();
    aiVector3D x = crossed(up, z);
    if (x.SquareLength() < 1e-6f)
        x = crossed(std::fabs(z.y) < 0.9f ? aiVector3D(0, 1, 0) : aiVector3D(1, 0, 0), z);
    x.NormalizeSafe();
    const aiVector3D y = crossed(z, x);
    Vrml_Place place;
    const aiVector3D rows[] = {x, y, z, at};
    for (unsigned i = 0; i < 4; ++i)
        for (unsigned k = 0; k < 3; ++k) place.m[i][k] = static_cast<double>(rows[i][k]);
    return place;
}

// Of a file of glTF, some versions of the importer have multiplied the angle by the aspect where
// its tangent was meant. Which way the one goes that is there, a file of one camera tells.
bool Model_Converter::multiplies_angles() {
    static const char file[] =
        R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"camera":0}],)"
        R"("cameras":[{"type":"perspective","perspective":{"yfov":1,"znear":1,"aspectRatio":2}}]})";
    Assimp::Importer importer;
    const aiScene* const scene = importer.ReadFileFromMemory(file, sizeof file - 1, 0, "gltf");
    const float product = 2;
    return scene && scene->mNumCameras == 1 && scene->mCameras[0]->mHorizontalFOV == product;
}

void Model_Converter::put_camera(const aiCamera& camera, const Vrml_Place& node) {
    const Vrml_Place place = looking(camera.mPosition, camera.mLookAt, camera.mUp) * node;
    // Across, but for files without an aspect; a scene has it from below to above.
    double angle = static_cast<double>(camera.mHorizontalFOV);
    if (camera.mAspect > 0) {
        const auto aspect = static_cast<double>(camera.mAspect);
        angle = multiplies_angles_ ? angle / aspect : 2 * std::atan(std::tan(angle / 2) / aspect);
    }
    const double least = 0.001, most = 3.14;
    if (!(angle >= least && angle <= most) || !place.is_regular())
        return skip("camera without a good place or angle, or with a parallel view");
    if (!is_good(place, "camera")) return;
    out_.put("camera " + out_.new_name(camera.mName.length > 0 ? camera.mName.C_Str() : "camera") +
             " {\n");
    put_frame(place);
    out_.put("  perspective");
    out_.put_number(angle * degrees);
    // Cameras of a scene fit their planes to the world.
    out_.put(" 1 0.1 20000\n}\n");
}

// The strength of a light is that of its brightest colour: a scene has colours up to 1.
static aiColor3D brought_to_one(const aiColor3D& color) {
    const float brightest = std::max({color.r, color.g, color.b});
    return std::isfinite(brightest) && brightest > 1 ? color * (1 / brightest) : color;
}

void Model_Converter::put_light(const aiLight& light, const aiNode& node, const Vrml_Place& at) {
    const bool is_spot = light.mType == aiLightSource_SPOT;
    if (!is_spot && light.mType != aiLightSource_POINT)
        return skip("light that is neither a point nor a spot");
    const Vrml_Place place =
        looking(light.mPosition, is_spot ? light.mDirection : aiVector3D(0, 0, -1),
                aiVector3D(0, 1, 0)) *
        at;
    if (!is_good(place, "light")) return;
    aiColor3D color = shown(brought_to_one(light.mColorDiffuse));
    // As wdb_save_glb keeps it: that of a light which is on.
    const bool is_on = std::max({color.r, color.g, color.b}) > 0;
    if (is_gltf_ && is_on) model_color(node.mMetaData, "color", &color);
    const std::string name = light.mName.length > 0 ? light.mName.C_Str() : "light";
    const std::string material = out_.new_name(name + "_color");
    out_.put("material " + material + " {\n");
    put_color("emission", color);
    out_.put("}\nlight " + out_.new_name(name) + " {\n");
    put_frame(place);
    out_.put("  material " + material + "\n  angle");
    const double all_around = 180, outer = static_cast<double>(light.mAngleOuterCone) * degrees;
    out_.put_number(is_spot && outer >= 0 && outer <= all_around ? outer : all_around);
    out_.put("\n}\n");
}
