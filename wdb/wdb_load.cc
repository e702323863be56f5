#include "wdb/wdb_load.h"

#include <cstring>
#include <string>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include "images/PX_Map.h"
#include "math/Bbox.h"
#include "std/Std_Common.h"
#include "std/Std_GC.h"
#include "std/Std_Heap_Ahead.h"
#include "std/Std_Limits.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Plain_Numbers.h"
#include "std/Std_Report.h"
#include "std/Std_URL.h"
#include "wdb/Document_Kind.h"
#include "wdb/Load_Progress.h"
#include "wdb/Standard_Camera.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Lex_Context.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Sym_Context.h"
#include "wdb/WDB_Texture.h"

static Std_URL* url_of_last_string(const WDB_Lex_Context& lex) {
    return new Std_URL(lex.get_last_string());
}

static Std_URL* relative_url_of_last_string(const WDB_Lex_Context& lex) {
    return lex.new_relative_url(url_of_last_string(lex));
}

void try_get_load_context(WDB_Lex_Context& lex, WDB_Sym_Context&) {
    if (!lex.try_get_header("loading")) return;
    if (strcasecmp(lex.get_last_header(), "context") != 0) {
        lex.show_error("`context' expected");
        lex.skip_until_brace();
        return;
    }
    // Without a base nothing is checked: the next line is left to the loop over the blocks.
    if (!lex.try_get_string("base")) return;
    Std_URL* const url = url_of_last_string(lex);
    if (url->is_valid()) {
        lex.set_base_url(url);
    } else {
        lex.show_error("Invalid base url");
    }
    lex.check_close("unknown loading context field");
}

// What a scene names must not be without an end, such as a device, the standard input or a pipe
// that nobody writes. Documents that do not exist fail where they are opened.
static bool may_be_endless(const Std_URL* url) {
    struct stat status;
    if (!url->is_local()) return false;
    if (url->is_standard_input()) return true;
    return stat(url->get_path(), &status) == 0 && !S_ISREG(status.st_mode);
}

// Others could have any file of the user's read, or deleted.
static bool is_local_scene(const WDB_Lex_Context& lex, const WDB_Sym_Context& sym) {
    return lex.get_url()->is_local() && sym.reads_local_files();
}

// Why nothing is read from a URL that the scene names, or null.
static const char* refusal(const WDB_Lex_Context& lex, const WDB_Sym_Context& sym,
                           const Std_URL* url) {
    if (may_be_endless(url)) return "not a plain file";
    const bool is_allowed = !url->is_valid() || !url->is_local() || is_local_scene(lex, sym) ||
                            std_limits.local_files_of_remote_scenes;
    return is_allowed ? nullptr : "local file of a scene that is not local";
}

static void import_file(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    Std_URL* const url = relative_url_of_last_string(lex);
    if (const char* const reason = refusal(lex, sym, url)) {
        lex.show_error_near(lex.get_last_string(), reason);
        return;
    }
    // A file that imports itself would go on until memory or descriptors are used up.
    if (const char* const reason = sym.begin_file(url)) {
        lex.show_error_near(lex.get_last_string(), reason);
        return;
    }
    std_tell(str_format("Importing file: %s", url->get_url_string().chars()));
    // Not on the stack, which a chain of imports could fill.
    WDB_Lex_Context& imported = *new (GC) WDB_Lex_Context(url, url, lex.get_progress());
    if (imported.is_open()) {
        ++sym.report().imports;
        try_get_file(imported, sym);
        imported.close();
        std_tell("Returning to main file");
    } else {
        imported.close();
        lex.show_error_near(lex.get_last_string(), "cannot open file");
    }
    // After close, which may count one more.
    sym.report().errors += imported.get_error_count();
    sym.report().notes += imported.get_note_count();
    sym.end_file();
}

void try_get_import(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("import")) return;
    // What this block sets, and the unit that its files may set, ends with it.
    const HFrame transform = sym.get_current_transform();
    const float unit_factor = sym.get_unit_factor();
    Std_URL* const default_url = sym.get_current_default_url();
    if (lex.try_get_frame("frame"))
        sym.set_current_transform(HFrame(lex.get_last_frame() * transform)); // the inner one first
    if (lex.try_get_string("url")) {
        Std_URL* const url = url_of_last_string(lex);
        if (url->is_valid()) {
            sym.set_current_default_url(lex.new_relative_url(url));
        } else {
            lex.show_error_near(url->get_url_string(), "invalid url");
        }
    }
    // Tested behind the fields: a block of another name still sets frame and URL for what follows.
    if (strcasecmp(lex.get_last_header(), "file") != 0) {
        lex.show_error("`file' expected");
        lex.skip_until_brace();
        return;
    }
    while (lex.try_get_string("file") && !lex.is_cancelled()) import_file(lex, sym);
    lex.check_close("unknown import field");
    sym.set_unit_factor(unit_factor);
    sym.set_current_transform(transform);
    sym.set_current_default_url(default_url);
}

void try_get_world(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("world")) return;
    Bbox box(Point(-10000, -10000, -10000), Point(10000, 10000, 10000));
    if (lex.try_get_bbox("bbox")) box = lex.get_last_bbox();
    // Until the end of the load it only holds its name and bounds.
    auto* const database = new WDB_Database(box);
    database->set_name(lex.get_last_header());
    // Counts also if this world turns out to be one too many.
    if (lex.try_get_float("unit")) sym.set_unit_factor(lex.get_last_float());
    lex.check_close("unknown world field");
    sym.put_database(database);
}

// Fields stand in one order, and each may be missing: a single pass reads them, and the first line
// that fits none of those left is the close or an error. Nodes are read so as well.
void try_get_material(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("material")) return;
    auto* const material = new WDB_Material;
    material->set_name(lex.get_last_header());
    if (lex.try_get_color("ambient")) material->set_ambient(lex.get_last_color());
    if (lex.try_get_color("diffuse")) material->set_diffuse(lex.get_last_color());
    if (lex.try_get_color("emission")) material->set_emission(lex.get_last_color());
    if (lex.try_get_color("specular")) material->set_specular(lex.get_last_color());
    if (lex.try_get_float("shininess")) material->set_shininess(lex.get_last_float());
    if (lex.try_get_float("alpha")) material->set_alpha(lex.get_last_float());
    lex.check_close("unknown material field");
    sym.put_material(material);
}

static WDB_Texture* new_texture(const WDB_Lex_Context& lex, WDB_Sym_Context& sym, Std_URL* url) {
    const char* const reason = refusal(lex, sym, url);
    if (reason) {
        lex.show_error_near(lex.get_last_string(), reason);
        // Nothing is read; of what is no plain file, the map says so itself and keeps the name.
        if (!may_be_endless(url) || url->is_standard_input()) url = new Std_URL("");
    }
    auto* const texture = new WDB_Texture(new PX_Map(url, 0));
    // The map has told why, but not of which image.
    if (!reason && !texture->get_image()->is_complete())
        lex.show_error_near(lex.get_last_header(), str_format("its image is not whole: %.900s",
                                                              url->get_url_string().chars()));
    texture->set_name(lex.get_last_header());
    return texture;
}

// Only for scenes that are local up to the one that the program asked for. And only what was read
// as an image.
static void delete_source(const WDB_Lex_Context& lex, const WDB_Sym_Context& sym,
                          const Std_URL* url, const PX_Map* image) {
    const char* const text = url->get_url_string();
    if (!url->is_valid() || url->get_protocol() != URL_LOCAL_PROTOCOL) {
        lex.show_error(str_format("Non Local or invalid tmpimage: %s", text));
    } else if (!is_local_scene(lex, sym) || sym.reads_standard_input()) {
        lex.show_error(str_format("tmpimage of a scene that is not local, keeping it: %s", text));
    } else if (!image->is_complete()) {
        lex.show_error(str_format("tmpimage was not read, keeping it: %s", text));
    } else if (unlink(url->get_path()) != 0) {
        lex.show_error("Problems unlinking temporary image file");
    }
}

void try_get_texture(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("texture")) return;
    WDB_Texture* texture = nullptr;
    // A load that is cancelled here must not delete the image either.
    if (lex.try_get_string("image") && !lex.is_cancelled()) {
        texture = new_texture(lex, sym, relative_url_of_last_string(lex));
    } else if (lex.try_get_string("tmpimage") && !lex.is_cancelled()) {
        Std_URL* const url = url_of_last_string(lex);
        texture = new_texture(lex, sym, url);
        // Not before: the map has read the file when it was made.
        delete_source(lex, sym, url, texture->get_image());
    }
    lex.check_close("unknown texture field");
    if (!texture) return;
    sym.put_texture(texture);
    if (lex.get_progress()) lex.get_progress()->tell();
}

// The first name of a reference list, of which only one counts.
static const char* single_reference(const WDB_Lex_Context& lex, const char* keyword,
                                    const char* too_many) {
    if (lex.get_last_reference_count() > 1) lex.show_error_near(keyword, too_many);
    return lex.get_last_reference(0);
}

static void get_node_material(WDB_Node* node, const WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    const char* const name =
        single_reference(lex, "material", "too many materials, using first one");
    if (const WDB_Material* material = sym.get_material(name)) {
        node->set_material(material);
    } else {
        lex.show_error_near(name, "unknown material");
    }
}

static void get_node_texture(WDB_Node* node, const WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    const char* const name = single_reference(lex, "texture", "too many textures, using first one");
    if (const WDB_Texture* texture = sym.get_texture(name)) {
        node->set_texture(texture);
    } else {
        lex.show_error_near(name, "unknown texture");
    }
}

static void get_node_geometries(WDB_Node* node, const WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    for (int i = 0; i < lex.get_last_reference_count(); ++i) {
        const char* const name = lex.get_last_reference(i);
        if (const WDB_Geometry* geometry = sym.get_geometry(name)) {
            // At the end: an unknown name leaves no hole, the levels behind it move up.
            node->insert_lod(geometry, node->lod_count());
        } else {
            lex.show_error_near(name, "unknown geometry");
        }
    }
}

static void get_node_url(WDB_Node* node, const WDB_Lex_Context& lex) {
    Std_URL* const url = url_of_last_string(lex);
    if (url->is_valid()) {
        node->set_url(lex.new_relative_url(url));
    } else {
        lex.show_error_near(url->get_url_string(), "invalid url");
    }
}

// The fields that nodes, cameras and lights share.
static void get_node_common(WDB_Node* node, WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (lex.try_get_frame("frame")) node->set_transform(lex.get_last_frame());
    if (lex.try_get_references("material")) get_node_material(node, lex, sym);
    if (lex.try_get_references("texture")) get_node_texture(node, lex, sym);
    if (lex.try_get_references("geometry")) get_node_geometries(node, lex, sym);
    if (lex.try_get_string("url")) get_node_url(node, lex);
}

void try_get_node(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("node")) return;
    auto* const node =
        new WDB_Node("Anonymous_node", HFrame::identity(), nullptr, nullptr, nullptr);
    node->set_name(lex.get_last_header());
    get_node_common(node, lex, sym);
    lex.check_close("unknown node field");
    sym.put_node(node);
}

void try_get_camera(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("camera")) return;
    WDB_Camera* const camera = new_standard_camera("Anonymous_camera");
    camera->set_name(lex.get_last_header());
    get_node_common(camera, lex, sym);
    // One line for both: the eye distance comes in the slot of the last number.
    if (lex.try_get_projection("perspective", sym.get_unit_factor())) {
        camera->set_projection(lex.get_last_projection());
        camera->set_ipd(lex.get_last_float());
    }
    lex.check_close("unknown camera field");
    sym.put_node(camera);
}

void try_get_light(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    if (!lex.try_get_header("light")) return;
    auto* const light = new WDB_Light("Anonymous_light", HFrame::identity(), 0, nullptr, nullptr);
    light->set_name(lex.get_last_header());
    get_node_common(light, lex, sym);
    if (lex.try_get_float("angle")) light->set_angle(deg_to_rad(lex.get_last_float()));
    lex.check_close("unknown light field");
    sym.put_node(light);
}

// No keyword begins like another one. A block leaves its closing line. False if it is none.
static bool read_block(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    static constexpr struct {
        const char* keyword;
        void (*read)(WDB_Lex_Context&, WDB_Sym_Context&);
    } blocks[] = {
        {"node", try_get_node},         {"trianglelist", try_get_trilist},
        {"material", try_get_material}, {"texture", try_get_texture},
        {"camera", try_get_camera},     {"light", try_get_light},
        {"linelist", try_get_linelist}, {"world", try_get_world},
        {"import", try_get_import},
    };
    for (const auto& block : blocks)
        if (lex.current_line_starts_with(block.keyword)) {
            block.read(lex, sym);
            return true;
        }
    return false;
}

void try_get_file(WDB_Lex_Context& lex, WDB_Sym_Context& sym) {
    const std::size_t enough = 400; // of the first line, to tell what else it may be
    const std::string beginning(lex.get_current_line(), strnlen(lex.get_current_line(), enough));
    const int errors_before = lex.get_error_count();
    bool has_blocks = false;
    Std_Heap_Ahead ahead;
    while (!lex.is_eof() && !lex.is_cancelled()) {
        // What the writer leaves in place of a geometry that it cannot write. It has no closing
        // brace.
        if (lex.current_line_starts_with("!!!")) {
            lex.show_error("geometry was not saved");
            lex.next_line();
            continue;
        }
        // A block may leave much behind; between two of them, least of it is still in use.
        const Std_Heap_Watch heap;
        ahead.step();
        // Without a base it leaves the next line, which may begin a block.
        try_get_load_context(lex, sym);
        if (read_block(lex, sym)) has_blocks = true;
        if (!lex.is_eof()) {
            lex.check_close("confused by earlier errors, skipping until brace");
            lex.next_line();
        }
        heap.collect_if_grown();
    }
    // Data may read as an empty file, which is none.
    if (!has_blocks && lex.get_error_count() == errors_before && lex.begins_as_data())
        ++sym.report().errors;
    if (!has_blocks && (lex.get_error_count() > errors_before || lex.begins_as_data()))
        std_tell(str_format("[%s]: this is no scene file (it looks like %s)",
                            lex.get_url()->get_url_string().chars(),
                            document_kind(beginning.c_str(), lex.begins_as_data())));
    // Cut between two blocks, a file reads without an error.
    if (lex.is_cut() && !lex.is_cancelled()) {
        ++sym.report().errors;
        std_tell(str_format("[%s]: the file was cut, its end is missing",
                            lex.get_url()->get_url_string().chars()));
    }
}

WDB_Database* wdb_load(Std_URL* url, Std_URL* base, const WDB_Load_Options& options,
                       WDB_Load_Report& report) {
    // Where a language has a comma for the point, each number would end there.
    const Std_Plain_Numbers plain;
    const Std_Load_Budget budget;
    report = WDB_Load_Report();
    Load_Progress progress(options);
    Load_Progress* const told = options.progress ? &progress : nullptr;
    WDB_Lex_Context lex(url, base, told);
    if (!lex.is_open()) {
        std_tell(str_format("Cannot open URL %s", url->get_url_string().chars()));
        lex.close();
        report.errors = 1;
        return nullptr;
    }
    WDB_Sym_Context sym(told);
    // Entered as well, so that no import reads it again; the first file is never refused.
    sym.begin_file(url);
    try_get_file(lex, sym);
    lex.close();
    std_tell("End of parsing");
    if (progress.is_cancelled()) std_tell("Loading was cancelled");
    WDB_Database* const result = sym.build_database(options.world);
    report = sym.report();
    report.is_cancelled = progress.is_cancelled();
    report.errors += lex.get_error_count();
    report.notes += lex.get_note_count();
    sym.wipe_out();
    return result;
}

WDB_Database* wdb_load(Std_URL* url, Std_URL* base, WDB_Load_Report& report) {
    return wdb_load(url, base, WDB_Load_Options(), report);
}

WDB_Database* wdb_load(Std_URL* url, Std_URL* base) {
    WDB_Load_Report report;
    return wdb_load(url, base, report);
}

WDB_Database* wdb_load(const char* url, const char* base, const WDB_Load_Options& options,
                       WDB_Load_Report& report) {
    Std_URL* const document = new Std_URL(url);
    Std_URL* const base_url = base ? new Std_URL(base) : nullptr;
    WDB_Database* const result = wdb_load(document, base_url, options, report);
    delete document;
    delete base_url;
    return result;
}

WDB_Database* wdb_load(const char* url, const char* base, WDB_Load_Report& report) {
    return wdb_load(url, base, WDB_Load_Options(), report);
}

WDB_Database* wdb_load(const char* url, const char* base) {
    WDB_Load_Report report;
    return wdb_load(url, base, report);
}
