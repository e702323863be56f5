#include "wdb/wdb_save.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "base/Hash_Set.h"
#include "base/Hash_Table.h"
#include "images/PX_Map.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_Format.h"
#include "std/Std_URL.h"
#include "wdb/Name_Hash.h"
#include "wdb/Scene_Buffer.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Geometry.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Texture.h"
#include "wdb/WDB_Tri_List.h"

// State of the save that runs; each save starts with clean tables and counters.
static std::FILE* of = nullptr; // null outside a save
static Scene_Buffer out;        // stands in front of `of`
static Hash_Table<WDB_Obj*, const char*> saved_objects;
static Hash_Set<const char*> saved_names(name_hash, name_equal);
static int anonymous_count;
static int camera_count;
static int light_count;
static int shape_count;
static int material_count;
static int texture_count;
static long long triangle_count; // many nodes share a mesh: the sum outgrows an int

// Nodes between the walk and the file. Those of a large world lie far from the processor's cache:
// asked for a few turns ahead, they are at hand when their turn comes.
static const unsigned int queue_length = 8;
static const WDB_Node* queue[queue_length];
static unsigned int queued, dequeued; // nodes so far; their difference is at most queue_length

static void start_save() {
    of = nullptr;
    saved_objects.wipe_out();
    saved_names.wipe_out();
    anonymous_count = 0;
    camera_count = light_count = shape_count = material_count = texture_count = 0;
    triangle_count = 0;
    queued = dequeued = 0;
}

static bool is_saved(const WDB_Obj* obj) {
    return saved_objects.has(const_cast<WDB_Obj*>(obj));
}

// Requires: is_saved(obj).
static const char* saved_name(const WDB_Obj* obj) {
    saved_objects.find(const_cast<WDB_Obj*>(obj));
    return *saved_objects.found_item();
}

// "base_number" in pointer-free collected memory, exactly long enough: a cut name would never
// become unique.
static const char* numbered_name(const char* base, int number) {
    char digits[12];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    const std::size_t base_length = std::strlen(base);
    const std::size_t digit_count = static_cast<std::size_t>(end - digits);
    char* const name = new (GCAtomic) char[base_length + 1 + digit_count + 1];
    std::memcpy(name, base, base_length);
    name[base_length] = '_';
    std::memcpy(name + base_length + 1, digits, digit_count);
    return name; // the memory is zero behind the digits
}

// Enters a name. False if it was there: then the table has only changed which of the equal texts it
// holds.
static bool is_new_name(const char* name) {
    const int before = saved_names.count();
    saved_names.put(name);
    return saved_names.count() != before;
}

static const char* unused_numbered_name(const char* base) {
    for (;;) {
        const char* const candidate = numbered_name(base, ++anonymous_count);
        if (is_new_name(candidate)) return candidate;
    }
}

static const char* unused_name(const WDB_Obj* obj) {
    const char* const name = obj->get_name();
    if (!name) return unused_numbered_name(obj->get_dynamic_class_name());
    return is_new_name(name) ? name : unused_numbered_name(name);
}

// Gives `obj` a name that this file does not hold yet, and returns it.
static const char* register_saved(const WDB_Obj* obj) {
    const char* const name = unused_name(obj);
    saved_objects.put(name, const_cast<WDB_Obj*>(obj));
    return name;
}

static void write_color(const char* title, const Color& color) {
    const float rgb[3] = {color.r, color.g, color.b};
    out.text(title).numbers(rgb).text("\n");
}

static void save_material(const WDB_Material* material) {
    if (is_saved(material)) return;
    const char* const name = register_saved(material);
    ++material_count;
    out.text("Material ").text(name).text(" {\n");
    write_color("  Ambient   ", material->get_ambient());
    write_color("  Diffuse   ", material->get_diffuse());
    write_color("  Emission  ", material->get_emission());
    write_color("  Specular  ", material->get_specular());
    out.text("  Shininess ").number(material->get_shininess()).text("\n");
    out.text("  Alpha     ").number(material->get_alpha()).text("\n");
    out.text("}\n\n");
}

// One row of a triangle as text: nine numbers, in three groups.
class Triangle_Row {
public:
    // Formatting costs far more than comparing, and a row often repeats another one.
    void set(const float* values) {
        if (length_ != 0 && std::memcmp(values_, values, sizeof values_) == 0) return;
        std::memcpy(values_, values, sizeof values_);
        char* at = text_;
        for (int i = 0; i < 9; ++i) {
            if (i != 0) *at++ = ' ';
            if (i == 3 || i == 6) *at++ = ' ';
            at = std_format_f(at, values[i]);
        }
        length_ = static_cast<std::size_t>(at - text_);
    }
    void write(const char* before, const char* after) const {
        out.text(before).bytes(text_, length_).text(after);
    }

private:
    float values_[9];
    std::size_t length_ = 0;
    char text_[9 * STD_FORMAT_F_MAX + 10]; // 8 blanks and 2 more between the groups
};

static void save_triangle(const WDB_Triangle& triangle, bool with_colors) {
    // Corners, normals, colours, texture points: nine contiguous floats each.
    float rows[4][9];
    static_assert(sizeof rows == sizeof triangle);
    std::memcpy(rows, &triangle, sizeof rows);
    Triangle_Row row;
    row.set(rows[0]);
    row.write("  Triangle   p ", "\\\n");
    row.set(rows[1]);
    row.write("  n ", "\\\n");
    if (with_colors) {
        Triangle_Row colors;
        colors.set(rows[2]);
        colors.write("  c ", "\\\n");
    }
    row.set(rows[3]);
    row.write("  t ", "\n");
}

static void save_trilist(const WDB_Tri_List* list) {
    if (is_saved(list)) return;
    const char* const name = register_saved(list);
    out.text("TriangleList ").text(name).text(" {\n");
    for (int i = 0; i < list->count(); ++i) save_triangle((*list)[i], list->get_with_colors());
    out.text("}\n\n");
}

static void save_geometry(const WDB_Geometry* geometry) {
    if (const WDB_Tri_List* list = WDB_Tri_List::const_castdown(geometry)) {
        save_trilist(list);
        return;
    }
    if (is_saved(geometry)) return;
    register_saved(geometry);
    out.text("!!! Unable to save geometry ").text(geometry->get_printable_name());
    out.text(" of class ").text(geometry->get_dynamic_class_name()).text("\n\n");
}

static void save_transform(const HFrame& transform) {
    out.text("  Frame m ").numbers(transform[0].to_c()).text(" \\\n");
    out.text("          ").numbers(transform[1].to_c()).text(" \\\n");
    out.text("          ").numbers(transform[2].to_c()).text(" \\\n");
    out.text("          ").numbers(transform[3].to_c()).text("   \n");
}

// The levels of detail, of which the first counts.
static void save_levels(const WDB_Node* node) {
    if (node->lod_count() == 0) return;
    out.text("  Geometry ");
    for (int i = 0; i < node->lod_count(); ++i) out.text(" ").text(saved_name(node->lod_item(i)));
    out.text("\n");
    if (const WDB_Tri_List* list = WDB_Tri_List::const_castdown(node->get_geometry()))
        triangle_count += list->count();
}

// The fields that nodes, cameras and lights share.
static void save_node_common(const WDB_Node* node) {
    save_transform(node->get_transform());
    if (const WDB_Material* material = node->get_material())
        out.text("  Material ").text(saved_name(material)).text("\n");
    if (const WDB_Texture* texture = node->get_texture())
        out.text("  Texture ").text(saved_name(texture)).text("\n");
    save_levels(node);
    if (const Std_URL* url = node->get_url())
        out.text("  URL \"").text(url->get_url_string()).text("\"\n");
}

static void save_node_body(const WDB_Node* node) {
    if (is_saved(node)) return;
    const char* const name = register_saved(node);
    ++shape_count;
    out.text("Node ").text(name).text(" {\n");
    save_node_common(node);
    out.text("}\n\n");
}

static void save_camera_body(const WDB_Camera* camera) {
    if (is_saved(camera)) return;
    const char* const name = register_saved(camera);
    ++camera_count;
    out.text("Camera ").text(name).text(" {\n");
    save_node_common(camera);
    const Matrix4& projection = camera->get_projection();
    if (projection.is_std_perspective()) {
        const float planes_and_ipd[3] = {projection.near_from_std_perspective(),
                                         projection.far_from_std_perspective(), camera->get_ipd()};
        out.text("  Perspective ").number(rad_to_deg(projection.fov_from_std_perspective()));
        out.text(" 1.0 ").numbers(planes_and_ipd).text("\n");
    } else {
        out.text("# Not standard perspective - ignored\n");
    }
    out.text("}\n\n");
}

static void save_light_body(const WDB_Light* light) {
    if (is_saved(light)) return;
    const char* const name = register_saved(light);
    ++light_count;
    out.text("Light ").text(name).text(" {\n");
    save_node_common(light);
    out.text("  Angle ").number(rad_to_deg(light->get_angle())).text("\n");
    out.text("}\n\n");
}

// Images land in the working directory or below it: a name that was read from a scene must not
// choose another place.
static bool leads_out(const char* name) {
    if (name[0] == '/') return true;
    for (const char* part = name; part; part = std::strchr(part, '/')) {
        if (*part == '/') ++part;
        if (part[0] == '.' && part[1] == '.' && (part[2] == '/' || part[2] == '\0')) return true;
    }
    return false;
}

static void save_image(PX_Map* image, const char* name) {
    const std::size_t length = std::strlen(name);
    char* const file_name = new (GCAtomic) char[length + sizeof ".rgb"];
    std::memcpy(file_name, name, length);
    std::memcpy(file_name + length, ".rgb", sizeof ".rgb");
    out.text("  Image \"").text(file_name).text("\"\n");
    if (leads_out(file_name)) {
        std_assert(2, str_format("Image %s would lie outside of this folder", file_name), __FILE__,
                   __LINE__);
        return;
    }
    image->save(file_name);
}

static void save_texture(const WDB_Texture* texture) {
    if (is_saved(texture)) return;
    const char* const name = register_saved(texture);
    ++texture_count;
    out.text("Texture ").text(name).text(" {\n");
    if (texture->get_image()) save_image(texture->get_image(), name);
    out.text("}\n\n");
}

static void save_body(const WDB_Node* node) {
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
static void save_node(const WDB_Node* node) {
    report_progress(node);
    if (const WDB_Texture* texture = node->get_texture()) save_texture(texture);
    if (const WDB_Material* material = node->get_material()) save_material(material);
    for (int i = 0; i < node->lod_count(); ++i) save_geometry(node->lod_item(i));
    save_body(node);
}

static void fetch(const WDB_Node* node) {
    const std::size_t cache_line = 64;
    const char* const bytes = reinterpret_cast<const char*>(node);
    for (std::size_t i = 0; i < sizeof *node; i += cache_line) __builtin_prefetch(bytes + i);
}

static void save_first_in_queue() {
    save_node(queue[dequeued++ % queue_length]);
}

static bool enqueue_node(SUniv*, const WDB_Node* node, const Bbox&) {
    if (queued - dequeued == queue_length) save_first_in_queue();
    queue[queued++ % queue_length] = node;
    fetch(node);
    if (queued - dequeued > queue_length / 2)
        __builtin_prefetch(queue[(queued - queue_length / 2) % queue_length]->get_name());
    return false;
}

static void write_counter(const char* title, long long count) {
    out.text(title).integer(count).text("\n");
}

static void write_counters() {
    out.text("\n\n# -- \n");
    write_counter("# -- Number of cameras        :  ", camera_count);
    write_counter("# -- Number of lights         :  ", light_count);
    write_counter("# -- Number of shapes         :  ", shape_count);
    write_counter("# -- Number of LOD 0 triangles:  ", triangle_count);
    write_counter("# -- Number of materials      :  ", material_count);
    write_counter("# -- Number of textures       :  ", texture_count);
    out.text("# -- \n# -- End of file\n");
}

int wdb_save(WDB_Database& world, const char* path) {
    start_save();
    of = std::fopen(path, "w");
    if (!of) {
        // The reason first: a long path is cut.
        std_assert(2, str_format("Cannot write scene file (%s): %s", std::strerror(errno), path),
                   __FILE__, __LINE__);
        return EOF;
    }
    out.open(of);
    out.text("# -- File ").text(path).text(" generated by wdb_save\n\n");
    world.apply_to_nodes(nullptr, enqueue_node);
    world.apply_to_shapes(nullptr, enqueue_node);
    while (dequeued != queued) save_first_in_queue();
    write_counters();
    const bool complete = out.flush();
    const int closed = std::fclose(of);
    of = nullptr;
    return complete ? closed : EOF;
}
