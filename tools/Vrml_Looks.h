// Materials and textures of VRML as those of the scene, each written once.
#ifndef TOOLS_VRML_LOOKS_H
#define TOOLS_VRML_LOOKS_H

#include <map>
#include <string>

#include "tools/Vrml_Scene.h"

class Vrml_Report;
class Vrml_Writer;

class Vrml_Looks {
public:
    Vrml_Looks(bool is_vrml1, Vrml_Scene& scene, Vrml_Writer& out, Vrml_Report& report)
        : is_vrml1_(is_vrml1), scene_(scene), out_(out), report_(report) {}

    // The name of the block; without a node that of a material with the standard's values.
    const std::string& material(Vrml_Ref node);

    // The name of the block, or "" if the scene cannot hold the texture: images are SGI images
    // there. Then it is told which file is to be converted.
    const std::string& texture(Vrml_Ref node);

    // A material whose emission is the colour of a light.
    std::string light_material(Vrml_Ref light);

private:
    void put_color(const char* keyword, Vrml_Ref n, const char* field, double otherwise,
                   double factor = 1);

    const bool is_vrml1_;
    Vrml_Scene& scene_;
    Vrml_Writer& out_;
    Vrml_Report& report_;
    std::map<Vrml_Ref, std::string> materials_, textures_;
};

#endif
