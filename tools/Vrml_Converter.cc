#include "tools/Vrml_Converter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "tools/Vrml_Files.h"
#include "tools/Vrml_Parser.h"
#include "tools/Vrml_Report.h"
#include "tools/Vrml_Text.h"
#include "tools/Vrml_Writer.h"

static const char unfit_levels[] = "LOD levels that are no single shape like the finest";

void Vrml_Converter::convert(const std::vector<const Vrml_Node*>& nodes) {
    Vrml_State state;
    for (const Vrml_Node* node : nodes) visit({node, nullptr}, state, 0);
}

// In VRML 1.0 what a node sets holds up to the end of the separator around it.
// The name of a DEF, or that of the group around it, becomes that of the scene's node: authors name
// what they want to find again.
void Vrml_Converter::visit(Vrml_Ref node, Vrml_State& state, int depth) {
    if (node.type().empty() || !budget_.spend(1 + node.node->fields.size(), node.type())) return;
    if (depth > VRML_DEEPEST) return report_.skip("groups nested too deeply", node.type());
    const Vrml_Ref n = scene_.resolved(node);
    if (!n || n.type().empty()) return;
    const bool is_separator =
        n.type() == "Separator" || n.type() == "TransformSeparator" || n.type() == "WWWAnchor";
    Vrml_State inner = state;
    Vrml_State& own = is_separator || !is_vrml1_ ? inner : state;
    const std::string_view outer_name = own.name;
    if (!n.node->name.empty()) own.name = n.node->name;
    if (!node.node->name.empty()) own.name = node.node->name;
    if (const Kind* kind = kind_of(n.type())) {
        (this->*kind->visit)(n, own, depth);
    } else if (is_vrml1_ && shapes_.is_shape(n.type())) {
        find_shape(n, own);
    } else {
        report_.skip(n.type(), n.type());
    }
    own.name = outer_name;
    if (n.type() != "TransformSeparator") return;
    inner.place = state.place; // all else goes on
    inner.name = outer_name;
    state = inner;
}

// What is done about a type; null, if nothing is.
const Vrml_Converter::Kind* Vrml_Converter::kind_of(std::string_view type) const {
    using C = Vrml_Converter;
    using S = Vrml_State;
    static constexpr Kind both[] = {
        {"Group", &C::visit_children},
        {"Separator", &C::visit_children},
        {"TransformSeparator", &C::visit_children},
        {"Billboard", &C::visit_children},
        {"Collision", &C::visit_children},
        {"Transform", &C::visit_transform},
        {"Anchor", &C::visit_anchor},
        {"WWWAnchor", &C::visit_anchor},
        {"LOD", &C::visit_levels},
        {"Switch", &C::visit_switch},
        {"Inline", &C::write_import},
        {"WWWInline", &C::write_import},
        {"Viewpoint", &C::write_camera},
        {"PerspectiveCamera", &C::write_camera},
        {"OrthographicCamera", &C::write_camera},
        {"PointLight", &C::write_light},
        {"SpotLight", &C::write_light},
        {"Info", &C::pass_by},
        {"WorldInfo", &C::pass_by},
        {"NavigationInfo", &C::pass_by},
    };
    static constexpr Kind vrml97[] = {{"Shape", &C::visit_shape}};
    // Properties, which hold for all that follows.
    static constexpr Kind vrml1[] = {
        {"Translation", &C::visit_translation},
        {"Rotation", &C::visit_rotation},
        {"Scale", &C::visit_scale},
        {"MatrixTransform", &C::visit_matrix},
        {"Texture2", &C::visit_texture},
        {"Material", &C::keep<&S::material>},
        {"MaterialBinding", &C::keep<&S::material_binding>},
        {"Coordinate3", &C::keep<&S::coordinates>},
        {"Normal", &C::keep<&S::normals>},
        {"NormalBinding", &C::keep<&S::normal_binding>},
        {"TextureCoordinate2", &C::keep<&S::texture_points>},
        {"Texture2Transform", &C::keep<&S::texture_transform>},
        {"ShapeHints", &C::keep<&S::hints>},
    };
    const std::span<const Kind> own = is_vrml1_ ? std::span<const Kind>(vrml1) : vrml97;
    for (const std::span<const Kind> kinds : {std::span<const Kind>(both), own})
        for (const Kind& kind : kinds)
            if (kind.type == type) return &kind;
    return nullptr;
}

void Vrml_Converter::visit_children(Vrml_Ref n, Vrml_State& state, int depth) {
    for (const Vrml_Ref child : scene_.children(n)) visit(child, state, depth + 1);
}

void Vrml_Converter::visit_transform(Vrml_Ref n, Vrml_State& state, int depth) {
    const char* const scale = is_vrml1_ ? "scaleFactor" : "scale";
    state.place = Vrml_Place::transform(scene_, n, scale) * state.place;
    // In VRML 1.0 a property of what follows, not a group.
    if (!is_vrml1_) visit_children(n, state, depth);
}

void Vrml_Converter::visit_anchor(Vrml_Ref n, Vrml_State& state, int depth) {
    state.url = scene_.word(n, is_vrml1_ ? "name" : "url");
    visit_children(n, state, depth);
}

void Vrml_Converter::visit_switch(Vrml_Ref n, Vrml_State& state, int depth) {
    const std::vector<Vrml_Ref> children = scene_.children(n);
    const auto end = static_cast<double>(children.size());
    const double which = scene_.number(n, is_vrml1_ ? "whichChild" : "whichChoice", 0, -1);
    // Of VRML 1.0. Any other number that is no child shows nothing.
    const int all = -3;
    if (which == all)
        for (const Vrml_Ref child : children) visit(child, state, depth + 1);
    if (which >= 0 && which < end)
        visit(children[static_cast<std::size_t>(which)], state, depth + 1);
}

// Levels become one node if each is one shape, as nodes of the scene are. Within a level only the
// finest of further levels counts.
void Vrml_Converter::visit_levels(Vrml_Ref n, Vrml_State& state, int depth) {
    const std::vector<Vrml_Ref> children = scene_.children(n);
    if (children.empty()) return;
    if (level_ || children.size() == 1) return visit(children[0], state, depth + 1);
    const std::size_t most_levels = 12; // of a node
    // Only the first level leaves a trace in the state: the others stand in its place, not behind
    // it.
    const Vrml_State before = state;
    std::vector<Level> levels(std::min(children.size(), most_levels));
    for (std::size_t i = 0; i < levels.size(); ++i) {
        Vrml_State other = before;
        level_ = &levels[i];
        is_coarse_ = i > 0;
        visit(children[i], i == 0 ? state : other, depth + 1);
        if (levels[i].size() == 1) continue;
        // One that is empty makes the shape vanish far away, which a node cannot.
        const bool is_end = i > 0 && levels[i].empty();
        if (!is_end) report_.skip(unfit_levels, n.type());
        levels.resize(i > 0 ? i : 1);
    }
    level_ = nullptr;
    is_coarse_ = false;
    write_levels(levels, n);
}

void Vrml_Converter::visit_translation(Vrml_Ref n, Vrml_State& state, int) {
    state.place = Vrml_Place::translation(scene_, n, "translation") * state.place;
}

void Vrml_Converter::visit_rotation(Vrml_Ref n, Vrml_State& state, int) {
    state.place = Vrml_Place::rotation(scene_, n, "rotation") * state.place;
}

void Vrml_Converter::visit_scale(Vrml_Ref n, Vrml_State& state, int) {
    state.place = Vrml_Place::scaling(scene_, n, "scaleFactor") * state.place;
}

void Vrml_Converter::visit_matrix(Vrml_Ref n, Vrml_State& state, int) {
    state.place = Vrml_Place::matrix_transform(scene_, n) * state.place;
}

void Vrml_Converter::visit_texture(Vrml_Ref n, Vrml_State& state, int) {
    // One of neither ends what the one before has set.
    const bool is_there = scene_.find(n, "filename") || scene_.number(n, "image", 0, 0) > 0;
    state.texture = is_there && !looks_.texture(n).empty() ? n : Vrml_Ref();
}

void Vrml_Converter::visit_shape(Vrml_Ref n, Vrml_State& state, int) {
    set_looks(n, state);
    const Vrml_Ref geometry = scene_.node(n, "geometry");
    if (!geometry) return;
    if (shapes_.is_shape(geometry.type())) {
        find_shape(geometry, state);
    } else {
        report_.skip(geometry.type(), geometry.type());
    }
}

void Vrml_Converter::set_looks(Vrml_Ref shape, Vrml_State& state) {
    const Vrml_Ref appearance = scene_.node(shape, "appearance", "Appearance");
    state.material = scene_.node(appearance, "material", "Material");
    state.texture = scene_.node(appearance, "texture");
    if (state.texture && looks_.texture(state.texture).empty()) state.texture = {};
    state.texture_transform = scene_.node(appearance, "textureTransform", "TextureTransform");
}

void Vrml_Converter::find_shape(Vrml_Ref node, const Vrml_State& state) {
    if (!budget_.take_shape(node.type())) return;
    // Before its lists are written: a list that no node shows would stay in the scene.
    if (!state.place.is_within_single_precision(1)) {
        report_.skip("shape beyond single precision", node.type());
    } else if (level_) {
        level_->push_back({node, state});
    } else {
        write_node({node, state}, {});
    }
}

void Vrml_Converter::write_levels(const std::vector<Level>& levels, Vrml_Ref lod) {
    // A node of the scene has one place, one material and one texture for all its levels.
    const auto fits = [&](const Level& level) {
        const Vrml_State &a = level[0].state, &b = levels[0][0].state;
        return a.place == b.place && a.material == b.material && a.texture == b.texture;
    };
    std::vector<Level> coarser;
    const bool is_node = levels[0].size() == 1;
    for (std::size_t i = 1; i < levels.size(); ++i) {
        if (is_node && levels[i].size() == 1 && fits(levels[i])) {
            coarser.push_back(levels[i]);
        } else {
            report_.skip(unfit_levels, lod.type());
            break;
        }
    }
    if (is_node) return write_node(levels[0][0], coarser);
    for (const Found& found : levels[0]) write_node(found, {});
}

void Vrml_Converter::put_frame(const Vrml_Place& place) {
    out_.put("  frame m");
    for (const auto& row : place.m) out_.put_numbers(row);
    out_.put("\n");
}

void Vrml_Converter::put_url(std::string_view token) {
    if (token.empty()) return;
    const std::string url = scene_.url(token);
    if (!vrml_is_scene_string(url) || url[0] == '#') {
        report_.skip(url.starts_with('#') ? "Anchor within the file"
                                          : "Anchor with a long or broken url",
                     token);
        return;
    }
    out_.put("  url \"" + url + "\"\n");
}

void Vrml_Converter::write_node(const Found& finest, const std::vector<Level>& coarser) {
    // Lists, material and texture are written on the way, in front of the node that refers to them.
    const Vrml_State& state = finest.state;
    const Vrml_Shapes::Shape shape = shapes_.shape(finest.node, state);
    if (shape.list.empty()) return;
    const Vrml_Place place = shape.frame * state.place;
    if (!place.is_within_single_precision(shape.extent))
        return report_.skip("shape beyond single precision", finest.node.type());
    std::string lists = shape.list;
    for (const Level& level : coarser) {
        const Vrml_Shapes::Shape other = shapes_.shape(level[0].node, level[0].state);
        const bool fits = !other.list.empty() && other.frame == shape.frame &&
                          place.is_within_single_precision(other.extent);
        if (!fits) {
            report_.skip(unfit_levels, level[0].node.type());
            break;
        }
        lists += " " + other.list;
    }
    const std::string& material = looks_.material(state.material);
    out_.put("node " + out_.new_name(state.name.empty() ? "shape" : state.name) + " {\n");
    put_frame(place);
    out_.put("  material " + material + "\n");
    if (state.texture) out_.put("  texture " + looks_.texture(state.texture) + "\n");
    out_.put("  geometry " + lists + "\n");
    put_url(state.url);
    out_.put("}\n");
}

void Vrml_Converter::write_import(Vrml_Ref n, Vrml_State& state, int) {
    // Coarser levels give shapes alone: their cameras and lights stand in the finest as well, as a
    // rule.
    if (is_coarse_ || !budget_.take_shape(n.type())) return;
    const std::string url = scene_.url(scene_.word(n, n.type() == "Inline" ? "url" : "name"));
    if (!vrml_is_scene_string(url) || !state.place.is_within_single_precision(1))
        return report_.skip(std::string(n.type()) + " without a good url or place", n.type());
    out_.put("import file {\n");
    put_frame(state.place);
    put_url(state.url);
    out_.put("  file \"" + url + "\"\n}\n");
}

static const double degrees = 180 / std::numbers::pi;

// The camera of a scene looks along its -z, as those of VRML do.
void Vrml_Converter::write_camera(Vrml_Ref n, Vrml_State& state, int) {
    if (is_coarse_ || !budget_.take_shape(n.type())) return;
    // The places that cameras have where their file says nothing.
    const double distance = n.type() == "Viewpoint" ? 10 : 1;
    const Vrml_Place place = Vrml_Place::rotation(scene_, n, "orientation") *
                             Vrml_Place::translation(scene_.number(n, "position", 0, 0),
                                                     scene_.number(n, "position", 1, 0),
                                                     scene_.number(n, "position", 2, distance)) *
                             state.place;
    double angle = scene_.number(n, is_vrml1_ ? "heightAngle" : "fieldOfView", 0, 0.785398);
    if (n.type() == "OrthographicCamera") {
        // As much is seen at the distance that the camera looks at.
        report_.skip("the parallel view of an OrthographicCamera", n.type());
        angle = 2 * std::atan(scene_.number(n, "height", 0, 2) / 2 /
                              scene_.number(n, "focalDistance", 0, 5));
    }
    // In radians: the tangent of half the angle must be a number that means something.
    const double least = 0.001, most = 3.14;
    if (!place.is_within_single_precision(1) || !place.is_regular() ||
        !(angle >= least && angle <= most))
        return report_.skip(std::string(n.type()) + " without a good place or angle", n.type());
    std::string name(n.node->name);
    if (name.empty()) name = vrml_string(scene_.word(n, "description"));
    out_.put("camera " + out_.new_name(name.empty() ? "camera" : name) + " {\n");
    put_frame(place);
    out_.put("  perspective");
    out_.put_number(angle * degrees);
    // Aspect, near and far: VRML leaves them to the browser, and cameras of a scene fit them to
    // their world.
    out_.put(" 1 0.1 20000\n}\n");
}

// What turns -z to the direction.
static Vrml_Place turn_to(double x, double y, double z) {
    if (x == 0 && y == 0 && z > 0) return Vrml_Place::rotation(0, 1, 0, 180 / degrees);
    return Vrml_Place::rotation(y, -x, 0, std::atan2(std::hypot(x, y), -z));
}

// A light of the scene has a place, a colour and an angle, as cut-off angles go: from the axis.
void Vrml_Converter::write_light(Vrml_Ref n, Vrml_State& state, int) {
    if (is_coarse_ || !budget_.take_shape(n.type())) return;
    if (scene_.has_word(n, "on", "FALSE"))
        return report_.skip(std::string(n.type()) + " that is off", n.type());
    const bool is_spot = n.type() == "SpotLight";
    const auto direction = [&](std::size_t i) {
        return scene_.number(n, "direction", i, i == 2 ? -1 : 0);
    };
    const Vrml_Place turn =
        is_spot ? turn_to(direction(0), direction(1), direction(2)) : Vrml_Place();
    const Vrml_Place place =
        turn *
        Vrml_Place::translation(scene_.number(n, "location", 0, 0),
                                scene_.number(n, "location", 1, 0),
                                scene_.number(n, "location", 2, is_vrml1_ ? 1 : 0)) *
        state.place;
    if (!place.is_within_single_precision(1))
        return report_.skip(std::string(n.type()) + " without a good place", n.type());
    const std::string material = looks_.light_material(n);
    const double all_around = 180;
    out_.put("light " + out_.new_name(n.node->name.empty() ? "light" : n.node->name) + " {\n");
    put_frame(place);
    out_.put("  material " + material + "\n  angle");
    const double cut_off = scene_.number(n, "cutOffAngle", 0, 0.785398) * degrees;
    out_.put_number(is_spot ? cut_off : all_around);
    out_.put("\n}\n");
}

bool vrml_convert(const std::string& text, const Vrml_Options& options, std::FILE* out,
                  std::FILE* told) {
    const int version = vrml_version(text);
    const char* const mark = told == out ? "# " : ""; // a comment, for whoever reads the scene
    Vrml_Report report;
    Vrml_Budget budget(report, options.most_work);
    if (version == 0 || !budget.take_bytes(text.size())) {
        report.fail(version == 0 ? "neither VRML 1.0 nor VRML97" : "the file is too long", {});
        report.show(told, mark);
        return false;
    }
    report.add_text(text, "");
    Vrml_Writer writer(out, options.prefix);
    Vrml_Files files(options.folder, report, budget);
    Vrml_Parser parser(text, version == 1, &files, report, budget);
    const std::vector<const Vrml_Node*> nodes = parser.parse();
    Vrml_Scene scene(files, report, budget);
    Vrml_Converter(version == 1, scene, writer, report, budget).convert(nodes);
    const bool is_written = writer.flush();
    report.show(told, mark);
    // A file without a shape is no failure, but one is of which nothing was understood.
    const bool is_understood = parser.has_read() || !report.has_skipped();
    return is_written && is_understood && !report.has_failures();
}
