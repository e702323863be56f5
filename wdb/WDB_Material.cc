#include "wdb/WDB_Material.h"

static constexpr Color black(0, 0, 0);

// A light grey without gloss shows the form of a shape before anybody has chosen a colour.
WDB_Material::WDB_Material()
    : WDB_Material(black, Color(0.8f, 0.8f, 0.8f), black, black, 0.0f, 1.0f) {}

WDB_Material::WDB_Material(const Color& ambient, const Color& diffuse, const Color& emission,
                           const Color& specular, float shininess, float alpha) {
    // By the setters, so that each counts as a change.
    set_ambient(ambient);
    set_diffuse(diffuse);
    set_emission(emission);
    set_specular(specular);
    set_shininess(shininess);
    set_alpha(alpha);
}

void WDB_Material::set_ambient(const Color& color) {
    ambient_ = color;
    touch();
}

void WDB_Material::set_diffuse(const Color& color) {
    diffuse_ = color;
    touch();
}

void WDB_Material::set_emission(const Color& color) {
    emission_ = color;
    touch();
}

void WDB_Material::set_specular(const Color& color) {
    specular_ = color;
    touch();
}

void WDB_Material::set_alpha(float value) {
    alpha_ = value;
    touch();
}

void WDB_Material::set_shininess(float value) {
    shininess_ = value;
    touch();
}

// Pure means exactly black elsewhere: what is nearly black still adds to the picture.
bool WDB_Material::is_pure_ambient() const {
    return diffuse_ == black && emission_ == black && specular_ == black;
}

bool WDB_Material::is_pure_diffuse() const {
    return ambient_ == black && emission_ == black && specular_ == black;
}

bool WDB_Material::is_pure_emission() const {
    return ambient_ == black && diffuse_ == black && specular_ == black;
}

bool WDB_Material::is_pure_specular() const {
    return ambient_ == black && diffuse_ == black && emission_ == black;
}

void WDB_Material::print_contents(std::ostream& os) const {
    WDB_Obj::print_contents(os);
    // A colour ends its own line, so that an empty one follows each.
    os << "  Ambient  : " << ambient_ << "\n";
    os << "  Diffuse  : " << diffuse_ << "\n";
    os << "  Emission : " << emission_ << "\n";
    os << "  Specular : " << specular_ << "\n";
    os << "  Shininess: " << static_cast<double>(shininess_) << "\n";
    os << "  Alpha    : " << static_cast<double>(alpha_) << "\n";
}
