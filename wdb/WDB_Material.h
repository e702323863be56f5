// Appearance of a node: four colours, opacity, shininess. Shared between nodes by pointer.
//
//     WDB_Material* red = new WDB_Material;    // grey, opaque, stamp 6
//     red->set_diffuse(Color(1, 0, 0));        // stamp 7
//
// Nothing is clamped. A change moves the material's stamp and tells nobody: who caches what follows
// from a material compares stamps.
#ifndef WDB_WDB_MATERIAL_H
#define WDB_WDB_MATERIAL_H

#include <ostream>

#include "math/Color.h"
#include "wdb/WDB_Obj.h"

class WDB_Material : public WDB_Obj {
    STD_OBJ_CLASS(WDB_Material, WDB_Obj)

    // Diffuse (0.8, 0.8, 0.8), the other colours black, alpha 1, shininess 0.
    WDB_Material();

    // Shininess before alpha.
    WDB_Material(const Color& ambient, const Color& diffuse, const Color& emission,
                 const Color& specular, float shininess, float alpha);

    // Each touches, also when the value stays the same.
    void set_ambient(const Color& color);
    void set_diffuse(const Color& color);
    void set_emission(const Color& color);
    void set_specular(const Color& color);
    void set_alpha(float value);
    void set_shininess(float value);

    const Color& get_ambient() const { return ambient_; }
    const Color& get_diffuse() const { return diffuse_; }
    const Color& get_emission() const { return emission_; }
    const Color& get_specular() const { return specular_; }
    float get_alpha() const { return alpha_; }
    float get_shininess() const { return shininess_; }

    // True if the other three colours are exactly black; the named one is not looked at, so an
    // all-black material is pure in all four senses.
    bool is_pure_ambient() const;
    bool is_pure_diffuse() const;
    bool is_pure_emission() const;
    bool is_pure_specular() const;

    void print_contents(std::ostream& os) const override;

private:
    Color ambient_;
    Color diffuse_;
    Color emission_;
    Color specular_;
    float alpha_;
    float shininess_;
};

#endif
