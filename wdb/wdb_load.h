// Reads a scene file into a new world.
//
//     WDB_Database* world = wdb_load("http://host/town.3d.gz", nullptr);
//     if (!world) return 1;                     // only if the document cannot be opened
//     WDB_Load_Report report;
//     wdb_load("garden.3d", nullptr, report);
//     if (report.errors > 0) ...                // the world lacks something
//     WDB_Load_Options options;
//     options.world = &mine;                    // into this one
//     options.progress = [&](long long done, long long total) { return show(done, total); };
//     wdb_load("town.3d", nullptr, options, report);
//
// A bad scene does not stop the load. Every error is an information report that names the URL and
// the line, what was read stays, and reading goes on at the next closing brace. Progress is
// reported too. A scene may open files and http addresses (images and imports) and have local files
// deleted ("tmpimage"); it cannot run a command. One that came over a network, or was imported by
// such a scene, names no file of this machine, unless std_limits allows it. Images and imports that
// are not plain files are refused, imports past 64 files in one another or 10000 in all as well.
#ifndef WDB_WDB_LOAD_H
#define WDB_WDB_LOAD_H

#include <functional>

class Std_URL;
class WDB_Database;
class WDB_Lex_Context;
class WDB_Sym_Context;
struct WDB_Load_Report;

struct WDB_Load_Options {
    // The world into which the nodes are put, one by one at the end of the load, by the thread that
    // loads: so its listeners and overridden operations see them, and nobody may use it meanwhile.
    // It keeps its name and bounds, whatever the scene says of its own; the unit of the scene
    // counts. Shapes outside these bounds are held, but not found: WDB_Database(WDB_FOLLOWING) has
    // bounds that follow. What the world holds already stays, also where names are the same.
    // Null stands for a new world.
    WDB_Database* world = nullptr;

    // Called now and then by the thread that loads, with the bytes read of all documents that were
    // opened so far, and with how many these have, unpacked; 0 where that is not known, as of what
    // is compressed. Imports add to both. At most once for each 64 KB, at the end of each document,
    // and behind each picture. What comes from a network is fetched before.
    // True cancels the load: the blocks that were read to their end count, and nothing else is
    // read. It must not throw, nor change what is being loaded into.
    std::function<bool(long long done, long long total)> progress;
};

// Relative URLs in the file are taken against `base`, or against `url` if that is null.
// On failure: null, if `url` cannot be opened.
// One load at a time.
WDB_Database* wdb_load(Std_URL* url, Std_URL* base);
WDB_Database* wdb_load(const char* url, const char* base);

// The same; afterwards `report` tells how it went, whatever it held before. The messages are the
// same as well.
WDB_Database* wdb_load(Std_URL* url, Std_URL* base, WDB_Load_Report& report);
WDB_Database* wdb_load(const char* url, const char* base, WDB_Load_Report& report);

// The same as the options say. Answers options.world, if that is given.
// On failure: null, and nothing has been put.
WDB_Database* wdb_load(Std_URL* url, Std_URL* base, const WDB_Load_Options& options,
                       WDB_Load_Report& report);
WDB_Database* wdb_load(const char* url, const char* base, const WDB_Load_Options& options,
                       WDB_Load_Report& report);

// Reads all blocks of an open file into `sym`.
void try_get_file(WDB_Lex_Context& lex, WDB_Sym_Context& sym);

// Each reads one kind of block, if the current line begins one, and leaves its closing line
// current.
void try_get_load_context(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_import(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_world(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_material(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_texture(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_trilist(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_linelist(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_node(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_camera(WDB_Lex_Context& lex, WDB_Sym_Context& sym);
void try_get_light(WDB_Lex_Context& lex, WDB_Sym_Context& sym);

#endif
