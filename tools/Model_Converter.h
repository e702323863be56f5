// A model as a scene file: its meshes as lists of triangles and lines, each once however many nodes
// show it; materials, textures, cameras and lights.
//
//     Model_Converter converter(scene, out, false, "/tmp/images", "models");
//     const bool is_written = converter.convert();
//     converter.tell(stderr, "");                     // skipped 2: texture of another kind
#ifndef TOOLS_MODEL_CONVERTER_H
#define TOOLS_MODEL_CONVERTER_H

#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <assimp/scene.h>

#include "tools/Vrml_Place.h"
#include "tools/Vrml_Writer.h"

class Model_Converter {
public:
    // Pictures that lie in the model become files of `image_folder`; without one they are left out.
    // `folder` is where the model lies, and may be empty: textures are not read from elsewhere.
    // Lifetime: the scene and the writer must outlive this.
    Model_Converter(const aiScene& scene, Vrml_Writer& out, bool is_gltf, std::string image_folder,
                    std::string folder)
        : scene_(scene), out_(out), image_folder_(std::move(image_folder)),
          folder_(std::move(folder)), is_gltf_(is_gltf),
          multiplies_angles_(is_gltf && scene.mNumCameras > 0 && multiplies_angles()) {}

    // False if something could not be written.
    bool convert();

    // Counts what did not arrive.
    void skip(std::string_view what, int count = 1) {
        if (count > 0) losses_[std::string(what)] += count;
    }

    // What did not arrive, each kind once, with how often.
    void tell(std::FILE* to, const char* mark) const;

private:
    // Names in the scene; empty for what is not written.
    struct Look {
        std::string material, texture;
        bool is_written = false;
    };
    struct Shape {
        std::string name;
        double extent = 0;
        bool is_written = false;
    };

    void tell_what_has_no_place();
    void convert_node(const aiNode& node, const Vrml_Place& above, int depth);
    void put_node(const aiNode& node, unsigned mesh, const Vrml_Place& place);
    void tell_extensions(const aiNode& node);
    // False, and told, for one that single precision has not.
    bool is_good(const Vrml_Place& place, const char* what);
    void put_frame(const Vrml_Place& place);
    void put_color(const char* keyword, const aiColor3D& color);

    const Shape& shape_of(unsigned mesh);
    // What wrote the same under the same name, as meshes that differ in their look; null if none.
    const Shape* twin_of(unsigned mesh);
    bool are_twins(const aiMesh& a, const aiMesh& b) const;
    void write_shape(const aiMesh& mesh, Shape& shape);
    bool is_item_good(const aiMesh& mesh, const aiFace& face);
    void put_item(const aiMesh& mesh, const aiFace& face);
    void put_vector(const aiVector3D& v);
    void put_attribute(const aiVector3D& v);
    void put_normals(const aiMesh& mesh, const aiFace& face);

    const Look& look_of(unsigned material);
    std::string material_of(const aiMaterial& material);
    std::string texture_of(const aiMaterial& material);
    std::string url_of(const std::string& path);
    // Which of the texture points of a mesh its texture is laid on by.
    unsigned texture_set(const aiMesh& mesh) const;
    std::string image_of(const aiTexture& texture);
    bool write_image(const aiTexture& texture, const std::string& path);

    // A colour of the file as it is told to a screen.
    aiColor3D shown(const aiColor3D& color) const;
    static bool multiplies_angles();
    void put_camera(const aiCamera& camera, const Vrml_Place& node);
    void put_light(const aiLight& light, const aiNode& node, const Vrml_Place& place);

    const aiScene& scene_;
    Vrml_Writer& out_;
    const std::string image_folder_, folder_;
    const bool is_gltf_, multiplies_angles_;
    std::vector<Shape> shapes_;
    std::multimap<std::string, unsigned> written_; // shapes by the names of their meshes
    std::vector<Look> looks_;
    std::multimap<std::string, const aiCamera*> cameras_; // by the names of their nodes
    std::multimap<std::string, const aiLight*> lights_;
    std::map<std::string, std::string> textures_; // by their paths in the model
    std::map<std::string, int> losses_;
    int nodes_ = 0, images_ = 0;
};

#endif
