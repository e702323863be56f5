#include "tools/Picture_Lighting.h"

#include <algorithm>
#include <cmath>

#include "wdb/WDB_Light.h"

bool Picture_Lighting::collect(SUniv* user, const WDB_Node* node, const Bbox&) {
    auto* const lamps = Conv<std::vector<Lamp>*>::from_univ(user);
    const WDB_Light* const light = WDB_Light::const_castdown(node);
    if (light->is_on() && !(light->get_color() == Color(0, 0, 0)))
        lamps->push_back(
            {toPoint(light->get_transform()[3]), light->get_color(), light->get_instance_id()});
    return false;
}

Picture_Lighting::Picture_Lighting(const WDB_Database& world, const Point& eye) : eye_(eye) {
    world.apply_to_lights(Conv<std::vector<Lamp>*>::to_univ(&lamps_), collect);
    // The walk goes by addresses, and the last bit of a sum by its order.
    std::sort(lamps_.begin(), lamps_.end(),
              [](const Lamp& a, const Lamp& b) { return a.id < b.id; });
    if (lamps_.empty()) lamps_.push_back({eye, Color(1, 1, 1), 0});
}

Color Picture_Lighting::shine(const WDB_Material& material, const Color& diffuse,
                              const Point& place, const Vector& normal) const {
    const bool is_shiny = !(material.get_specular() == Color(0, 0, 0));
    const Vector to_eye = oknormalize(eye_ - place);
    Color sum = material.get_emission() + material.get_ambient();
    for (const Lamp& lamp : lamps_) {
        // A lamp in the very place has no direction, and oknormalize gives the null vector: dark.
        const Vector to_lamp = oknormalize(lamp.place - place);
        const float facing = dot(normal, to_lamp);
        if (!(facing > 0)) continue;
        sum += lamp.color * diffuse * facing;
        if (!is_shiny) continue;
        // Half way between lamp and eye stands the normal of a mirror that shows the lamp.
        const float mirrored = dot(normal, oknormalize(to_lamp + to_eye));
        if (mirrored > 0)
            sum +=
                lamp.color * material.get_specular() * std::pow(mirrored, material.get_shininess());
    }
    return sum;
}
