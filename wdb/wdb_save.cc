#include "wdb/wdb_save.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/Hash_Table.h"
#include "images/PX_Map.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_GC.h"
#include "std/Std_Output_File.h"
#include "std/Std_URL.h"
#include "wdb/Scene_Buffer.h"
#include "wdb/Scene_Items.h"
#include "wdb/Scene_Names.h"
#include "wdb/Scene_Pictures.h"
#include "wdb/Scene_Queue.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Lex_Context.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Line_List.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

namespace {

// One save, from the opening of the file to its end.
class Scene_Writer {
public:
    Scene_Writer(WDB_Database& world, const char* path, const WDB_Save_Options& options)
        : world_(world), path_(path), options_(options), pictures_(world, path) {}
    Scene_Writer(const Scene_Writer&) = delete;
    Scene_Writer& operator=(const Scene_Writer&) = delete;
    ~Scene_Writer() { std_release(&out_); }

    // As wdb_save.
    int save();

private:
    bool is_saved(const WDB_Obj* obj);
    const char* saved_name(const WDB_Obj* obj);
    const char* begin_object(const WDB_Obj* obj);
    const char* register_saved(const WDB_Obj* obj);
    const char* register_node(const WDB_Node* node);

    void warn_of(const char* what);
    void warn_unreadable(const char* why);
    void check_name(const char* name);
    void write_number(float value);
    void write_numbers(const float* xyz);
    void write_color(const char* title, const Color& color);
    void save_material(const WDB_Material* material);
    void tell_fault(Scene_Item_Fault fault, const char* too_long);
    void save_trilist(const WDB_Tri_List* list);
    void save_linelist(const WDB_Line_List* list);
    void save_geometry(const WDB_Geometry* geometry);
    void save_transform(const HFrame& transform);
    void save_levels(const WDB_Node* node);
    void save_string(const char* keyword, const char* text);
    void save_node_common(const WDB_Node* node);
    void save_node_body(const WDB_Node* node);
    void save_camera_body(const WDB_Camera* camera);
    void save_light_body(const WDB_Light* light);
    void save_image(PX_Map* image, const char* name);
    void save_texture(const WDB_Texture* texture);
    void save_body(const WDB_Node* node);
    void save_node(const WDB_Node* node);
    static bool enqueue_node(SUniv* writer, const WDB_Node* node, const Bbox& box);
    static bool note_outside(SUniv* writer, const WDB_Node* node, const Bbox& box);
    void save_outside();
    void save_queued();
    void write_counter(const char* title, long long count);
    void write_counters();

    WDB_Database& world_;
    const char* const path_; // of the scene
    const WDB_Save_Options options_;
    Scene_Pictures pictures_;
    Scene_Buffer& out_ =
        *new (GCAtomic) Scene_Buffer; // a thread may have less stack than its block
    Hash_Table<WDB_Obj*, const char*> saved_objects_;
    Scene_Names saved_names_;
    int camera_count_ = 0;
    int light_count_ = 0;
    int shape_count_ = 0;
    int material_count_ = 0;
    int texture_count_ = 0;
    long long triangle_count_ = 0; // many nodes share a mesh: the sum outgrows an int
    bool loses_ = false;
    int outside_count_ = 0; // shapes that are lost
    const WDB_Node* first_outside_ = nullptr;
    const WDB_Obj* object_ = nullptr;   // that is being written, until it is told to be unreadable
    const char* object_name_ = nullptr; // its name in the file
    bool are_shapes_ = false;           // the walk is that of the shapes

    Scene_Queue queue_; // between the walk and the file
};

} // namespace

bool Scene_Writer::is_saved(const WDB_Obj* obj) {
    return saved_objects_.has(const_cast<WDB_Obj*>(obj));
}

// Requires: is_saved(obj).
const char* Scene_Writer::saved_name(const WDB_Obj* obj) {
    saved_objects_.find(const_cast<WDB_Obj*>(obj));
    return *saved_objects_.found_item();
}

// Gives `obj` a name that this file does not hold yet.
// Lifetime of the name: to the next object.
const char* Scene_Writer::begin_object(const WDB_Obj* obj) {
    object_ = obj;
    object_name_ = obj->get_name() ? saved_names_.unused(obj->get_name())
                                   : saved_names_.unused_numbered(obj->get_dynamic_class_name());
    check_name(object_name_);
    return object_name_;
}

const char* Scene_Writer::register_saved(const WDB_Obj* obj) {
    begin_object(obj);
    if (object_name_ != obj->get_name()) object_name_ = str_new(object_name_);
    saved_objects_.put(object_name_, const_cast<WDB_Obj*>(obj));
    return object_name_;
}

// Shapes, of which a world may have millions, are not kept: they come last and each once, and
// nothing refers to them.
const char* Scene_Writer::register_node(const WDB_Node* node) {
    return are_shapes_ ? begin_object(node) : register_saved(node);
}

// Once for each object.
void Scene_Writer::warn_of(const char* what) {
    if (!object_) return;
    std_assert(2, str_format("%s %.100s %s", object_->get_dynamic_class_name(), object_name_, what),
               __FILE__, __LINE__);
    object_ = nullptr;
}

// What would not come back from the file is written all the same, but not without a word.
void Scene_Writer::warn_unreadable(const char* why) {
    if (object_) warn_of(str_format("cannot be read back: %s", why));
}

void Scene_Writer::check_name(const char* name) {
    const std::size_t length = scene_name_length(name);
    if (length == 0 || name[length] != '\0') {
        warn_unreadable("its name holds other signs than names do");
    } else if (length > WDB_Lex_Context::LONGEST_NAME) {
        warn_unreadable("its name is too long");
    }
}

void Scene_Writer::write_number(float value) {
    if (!std::isfinite(value)) warn_of("has a number that is infinite or none");
    out_.number(value);
}

void Scene_Writer::write_numbers(const float* xyz) {
    for (int i = 0; i < 3; ++i) {
        if (i > 0) out_.text(" ");
        write_number(xyz[i]);
    }
}

void Scene_Writer::write_color(const char* title, const Color& color) {
    const float rgb[3] = {color.r, color.g, color.b};
    out_.text(title);
    write_numbers(rgb);
    out_.text("\n");
}

void Scene_Writer::save_material(const WDB_Material* material) {
    if (is_saved(material)) return;
    const char* const name = register_saved(material);
    ++material_count_;
    out_.text("Material ").text(name).text(" {\n");
    write_color("  Ambient   ", material->get_ambient());
    write_color("  Diffuse   ", material->get_diffuse());
    write_color("  Emission  ", material->get_emission());
    write_color("  Specular  ", material->get_specular());
    out_.text("  Shininess ");
    write_number(material->get_shininess());
    out_.text("\n  Alpha     ");
    write_number(material->get_alpha());
    out_.text("\n}\n\n");
}

void Scene_Writer::tell_fault(Scene_Item_Fault fault, const char* too_long) {
    if (fault == SCENE_ITEM_INFINITE) warn_of("has a number that is infinite or none");
    if (fault == SCENE_ITEM_MISREAD) warn_unreadable("a number is infinite or none");
    if (fault == SCENE_ITEM_TOO_LONG) warn_unreadable(too_long);
    if (fault == SCENE_ITEM_NO_NORMAL) warn_unreadable("an item has no area or no normal");
}

void Scene_Writer::save_trilist(const WDB_Tri_List* list) {
    if (is_saved(list)) return;
    const char* const name = register_saved(list);
    if (list->count() == 0) warn_unreadable("it is empty");
    out_.text("TriangleList ").text(name).text(" {\n");
    for (const WDB_Triangle& triangle : *list)
        tell_fault(scene_write_triangle(out_, triangle, list->get_with_colors()),
                   "a triangle is longer than a line");
    out_.text("}\n\n");
}

void Scene_Writer::save_linelist(const WDB_Line_List* list) {
    if (is_saved(list)) return;
    const char* const name = register_saved(list);
    if (list->count() == 0) warn_unreadable("it is empty");
    out_.text("LineList ").text(name).text(" {\n");
    for (const WDB_Line& line : *list)
        tell_fault(scene_write_line(out_, line, *list), "a line is longer than one of the file");
    out_.text("}\n\n");
}

void Scene_Writer::save_geometry(const WDB_Geometry* geometry) {
    if (const WDB_Tri_List* list = WDB_Tri_List::const_castdown(geometry)) {
        save_trilist(list);
        return;
    }
    if (const WDB_Line_List* list = WDB_Line_List::const_castdown(geometry);
        list && options_.is_complete) {
        save_linelist(list);
        return;
    }
    if (is_saved(geometry)) return;
    // Named all the same: nodes refer to it, and the reader then tells that it is missing.
    register_saved(geometry);
    loses_ = true;
    warn_unreadable("the file has no form for it");
    out_.text("!!! Unable to save geometry ").text(geometry->get_printable_name());
    out_.text(" of class ").text(geometry->get_dynamic_class_name()).text("\n\n");
}

void Scene_Writer::save_transform(const HFrame& transform) {
    if (!transform.is_affine()) warn_unreadable("its frame is not affine");
    // The reader joins the rows with nothing in between: the blanks keep their numbers apart. The
    // fourth column is always that of an affine frame there, and not written.
    const char* const ends[4] = {" \\\n", " \\\n", " \\\n", "   \n"};
    for (int i = 0; i < 4; ++i) {
        out_.text(i == 0 ? "  Frame m " : "          ");
        write_numbers(transform[i].to_c());
        out_.text(ends[i]);
    }
}

// The levels of detail, of which the first counts.
void Scene_Writer::save_levels(const WDB_Node* node) {
    if (node->lod_count() == 0) return;
    out_.text("  Geometry ");
    std::size_t length = std::strlen("  Geometry ");
    for (int i = 0; i < node->lod_count(); ++i) {
        const char* const name = saved_name(node->lod_item(i));
        out_.text(" ").text(name);
        length += 1 + std::strlen(name);
    }
    out_.text("\n");
    if (length > WDB_Lex_Context::LONGEST_LINE ||
        node->lod_count() > WDB_Lex_Context::MOST_REFERENCES)
        warn_unreadable("it has too many levels of detail for a line");
    // Again for each node that shows the list: the count is of what is seen, not of what is stored.
    if (const WDB_Tri_List* list = WDB_Tri_List::const_castdown(node->get_geometry()))
        triangle_count_ += list->count();
}

void Scene_Writer::save_string(const char* keyword, const char* text) {
    out_.text("  ").text(keyword).text(" \"").text(text).text("\"\n");
    // There is no escape in strings: the reader ends one at the first quote.
    const std::size_t length = std::strcspn(text, "\"\n");
    if (length == 0 || text[length] != '\0' || length > WDB_Lex_Context::LONGEST_NAME)
        warn_unreadable("a text is empty, too long or holds a quote");
}

// The fields that nodes, cameras and lights share.
void Scene_Writer::save_node_common(const WDB_Node* node) {
    save_transform(node->get_transform());
    if (const WDB_Material* material = node->get_material())
        out_.text("  Material ").text(saved_name(material)).text("\n");
    if (const WDB_Texture* texture = node->get_texture())
        out_.text("  Texture ").text(saved_name(texture)).text("\n");
    save_levels(node);
    if (const Std_URL* url = node->get_url()) {
        save_string("URL", pictures_.name_below(url->get_url_string()).c_str());
        if (!url->is_valid()) warn_unreadable("its URL is none");
    }
}

void Scene_Writer::save_node_body(const WDB_Node* node) {
    if (is_saved(node)) return;
    const char* const name = register_node(node);
    ++shape_count_;
    out_.text("Node ").text(name).text(" {\n");
    save_node_common(node);
    out_.text("}\n\n");
}

void Scene_Writer::save_camera_body(const WDB_Camera* camera) {
    if (is_saved(camera)) return;
    const char* const name = register_node(camera);
    ++camera_count_;
    out_.text("Camera ").text(name).text(" {\n");
    save_node_common(camera);
    const Matrix4& projection = camera->get_projection();
    if (projection.is_std_perspective()) {
        const float planes_and_ipd[3] = {projection.near_from_std_perspective(),
                                         projection.far_from_std_perspective(), camera->get_ipd()};
        out_.text("  Perspective ");
        write_number(rad_to_deg(projection.fov_from_std_perspective()));
        // A ratio, which the reader passes over: the aspect is the picture's and not the camera's.
        out_.text(" 1.0 ");
        write_numbers(planes_and_ipd);
        out_.text("\n");
    } else {
        warn_unreadable("its projection is no standard perspective");
        // A comment, so that the camera is read with the default projection.
        out_.text("# Not standard perspective - ignored\n");
    }
    out_.text("}\n\n");
}

void Scene_Writer::save_light_body(const WDB_Light* light) {
    if (is_saved(light)) return;
    const char* const name = register_node(light);
    ++light_count_;
    out_.text("Light ").text(name).text(" {\n");
    save_node_common(light);
    if (!light->is_on()) warn_unreadable("it is off, and the file has no form for that");
    out_.text("  Angle ");
    write_number(rad_to_deg(light->get_angle()));
    out_.text("\n}\n\n");
}

// The picture as a file of its own, or, if it was not read as a whole, the name of what it was read
// from: nothing is to take the place of a file that the user may still mend.
void Scene_Writer::save_image(PX_Map* image, const char* name) {
    if (!image->is_complete()) {
        save_string("Image", pictures_.name_of(image->get_source()).c_str());
        std_assert(2, str_format("Image %s was not read and is not written", image->get_source()),
                   __FILE__, __LINE__);
        return;
    }
    save_string("Image", pictures_.add(image, name).c_str());
}

void Scene_Writer::save_texture(const WDB_Texture* texture) {
    if (is_saved(texture)) return;
    const char* const name = register_saved(texture);
    ++texture_count_;
    out_.text("Texture ").text(name).text(" {\n");
    if (texture->get_image()) save_image(texture->get_image(), name);
    out_.text("}\n\n");
}

void Scene_Writer::save_body(const WDB_Node* node) {
    // Cameras and lights are nodes, too: a plain node is what is neither.
    if (const WDB_Camera* camera = WDB_Camera::const_castdown(node)) {
        save_camera_body(camera);
    } else if (const WDB_Light* light = WDB_Light::const_castdown(node)) {
        save_light_body(light);
    } else {
        save_node_body(node);
    }
}

// "Saving node...". A format costs as much as a few numbers in the file: only for long names.
static void report_progress(const WDB_Node* node) {
    const char* const name = node->get_printable_name();
    const std::size_t length = std::strlen(name);
    char text[128] = "Saving ";
    const std::size_t start = 7;
    if (start + length + sizeof "..." > sizeof text) {
        std_assert(0, str_format("Saving %s...", name), __FILE__, __LINE__);
        return;
    }
    std::memcpy(text + start, name, length);
    std::memcpy(text + start + length, "...", sizeof "...");
    std_assert(0, text, __FILE__, __LINE__);
}

// Everything that a node refers to stands in the file before the node.
void Scene_Writer::save_node(const WDB_Node* node) {
    report_progress(node);
    if (const WDB_Texture* texture = node->get_texture()) save_texture(texture);
    if (const WDB_Material* material = node->get_material()) save_material(material);
    for (int i = 0; i < node->lod_count(); ++i) save_geometry(node->lod_item(i));
    save_body(node);
}

void Scene_Writer::write_counter(const char* title, long long count) {
    out_.text(title).integer(count).text("\n");
}

void Scene_Writer::write_counters() {
    out_.text("\n\n# -- \n");
    write_counter("# -- Number of cameras        :  ", camera_count_);
    write_counter("# -- Number of lights         :  ", light_count_);
    write_counter("# -- Number of shapes         :  ", shape_count_);
    write_counter("# -- Number of LOD 0 triangles:  ", triangle_count_);
    write_counter("# -- Number of materials      :  ", material_count_);
    write_counter("# -- Number of textures       :  ", texture_count_);
    out_.text("# -- \n# -- End of file\n");
}

// The reason first: a long path is cut.
static int warn_unwritten(const char* path) {
    std_assert(2, str_format("Cannot write scene file (%s): %s", std::strerror(errno), path),
               __FILE__, __LINE__);
    return EOF;
}

// In one line, and so that all of it is a comment.
static std::string title_of(const char* path) {
    const std::size_t longest = 900;
    std::string title(path, strnlen(path, longest));
    if (path[title.size()] != '\0') title += "...";
    for (char& c : title)
        if (static_cast<unsigned char>(c) < ' ') c = '?';
    return title;
}

bool Scene_Writer::enqueue_node(SUniv* writer, const WDB_Node* node, const Bbox&) {
    Scene_Writer& self = *Conv<Scene_Writer*>::from_univ(writer);
    if (self.queue_.is_full()) self.save_node(self.queue_.take());
    self.queue_.put(node);
    return false;
}

// The reader fits bounds to what it reads, but none hold what has no place.
bool Scene_Writer::note_outside(SUniv* writer, const WDB_Node* node, const Bbox& box) {
    Scene_Writer& self = *Conv<Scene_Writer*>::from_univ(writer);
    if (self.options_.is_complete && box.is_ordered()) return false;
    if (self.outside_count_++ == 0) self.first_outside_ = node;
    return false;
}

// The shapes that no other walk of the world reaches.
void Scene_Writer::save_outside() {
    world_.apply_to_shapes_outside(Conv<Scene_Writer*>::to_univ(this), note_outside);
    if (options_.is_complete)
        world_.apply_to_shapes_outside(Conv<Scene_Writer*>::to_univ(this), enqueue_node);
    if (outside_count_ == 0) return;
    loses_ = true;
    std_assert(
        2,
        str_format("%d shapes outside the bounds of the world are lost, the first is %.100s: "
                   "give the world wider bounds or WDB_FOLLOWING, or save it is_complete",
                   outside_count_, first_outside_->get_printable_name()),
        __FILE__, __LINE__);
}

void Scene_Writer::save_queued() {
    while (!queue_.is_empty()) save_node(queue_.take());
}

int Scene_Writer::save() {
    Std_Output_File file;
    if (!file.open(path_, Std_Output_File::FOLLOW_LINKS)) return warn_unwritten(path_);
    out_.open(file.descriptor());
    out_.text("# -- File ").text(title_of(path_).c_str()).text(" generated by wdb_save\n\n");
    world_.apply_to_nodes(Conv<Scene_Writer*>::to_univ(this), enqueue_node);
    save_queued();
    // The queue is empty here, so that no other node is taken for a shape.
    are_shapes_ = true;
    world_.apply_to_shapes(Conv<Scene_Writer*>::to_univ(this), enqueue_node);
    save_outside();
    save_queued();
    write_counters();
    // Writes are not looked at one by one: the buffer keeps the first that failed.
    if (!out_.flush() || !file.prepare() || !pictures_.commit_with(file))
        return warn_unwritten(path_);
    return loses_ || !pictures_.are_inside() ? WDB_SAVE_LOSES : 0;
}

int wdb_save(WDB_Database& world, const char* path) {
    return wdb_save(world, path, {});
}

int wdb_save(WDB_Database& world, const char* path, const WDB_Save_Options& options) {
    Scene_Writer writer(world, path, options);
    return writer.save();
}
