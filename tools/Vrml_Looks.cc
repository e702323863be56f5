#include "tools/Vrml_Looks.h"

#include "tools/Vrml_Report.h"
#include "tools/Vrml_Text.h"
#include "tools/Vrml_Writer.h"

void Vrml_Looks::put_color(const char* keyword, Vrml_Ref n, const char* field, double otherwise,
                           double factor) {
    out_.put("  ");
    out_.put(keyword);
    for (std::size_t i = 0; i < 3; ++i)
        out_.put_number(factor * scene_.number(n, field, i, otherwise));
    out_.put("\n");
}

const std::string& Vrml_Looks::material(Vrml_Ref n) {
    const auto [at, is_new] = materials_.try_emplace(n);
    if (!is_new) return at->second;
    // VRML has shininess from 0 to 1, the scene as an exponent.
    const double brightest_highlight = 128;
    at->second = out_.new_name(n && !n.node->name.empty() ? n.node->name : "material");
    out_.put("material " + at->second + " {\n");
    // VRML97 gives the ambient colour as a share of the diffuse one.
    if (is_vrml1_) {
        put_color("ambient", n, "ambientColor", 0.2);
    } else {
        put_color("ambient", n, "diffuseColor", 0.8, scene_.number(n, "ambientIntensity", 0, 0.2));
    }
    put_color("diffuse", n, "diffuseColor", 0.8);
    put_color("emission", n, "emissiveColor", 0);
    put_color("specular", n, "specularColor", 0);
    out_.put("  shininess");
    out_.put_number(scene_.number(n, "shininess", 0, 0.2) * brightest_highlight);
    out_.put("\n  alpha");
    out_.put_number(1 - scene_.number(n, "transparency", 0, 0));
    out_.put("\n}\n");
    return at->second;
}

const std::string& Vrml_Looks::texture(Vrml_Ref n) {
    const auto [at, is_new] = textures_.try_emplace(n);
    if (!is_new) return at->second;
    // Whatever is told here leaves an empty name: the shapes then come without a texture.
    const std::string_view token = scene_.word(n, is_vrml1_ ? "filename" : "url");
    const std::string url = scene_.url(token);
    if (n.type() != "ImageTexture" && n.type() != "Texture2") {
        report_.skip(n.type(), n.type());
    } else if (url.empty()) {
        report_.skip("texture without a file", n.type());
    } else if (!vrml_ends_in(url, {".png", ".jpg", ".jpeg", ".rgb", ".rgba", ".sgi", ".bw", ".int",
                                   ".inta"})) {
        report_.skip("texture, convert it to PNG: " + url, token);
    } else if (!vrml_is_scene_string(url)) {
        report_.skip("texture with a long or broken url", token);
    } else {
        at->second = out_.new_name(n.node->name.empty() ? "texture" : n.node->name);
        out_.put("texture " + at->second + " {\n  image \"" + url + "\"\n}\n");
    }
    return at->second;
}

// A light of the scene shines in the emission of its material.
std::string Vrml_Looks::light_material(Vrml_Ref light) {
    std::string name = out_.new_name("light_color");
    out_.put("material " + name + " {\n");
    put_color("emission", light, "color", 1, scene_.number(light, "intensity", 0, 1));
    out_.put("}\n");
    return name;
}
