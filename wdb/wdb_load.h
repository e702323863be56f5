// Reads a scene file into a new world.
//
//     WDB_Database* world = wdb_load("http://host/town.3d.gz", nullptr);
//     if (!world) return 1;                     // only if the document cannot be opened
//     WDB_Load_Report report;
//     wdb_load("garden.3d", nullptr, report);
//     if (report.errors > 0) ...                // the world lacks something
//
// A bad scene does not stop the load. Every error is an information report that names the URL and
// the line, what was read stays, and reading goes on at the next closing brace. Progress is
// reported too. A scene may open files and http addresses (images and imports) and have local files
// deleted ("tmpimage"); it cannot run a command. One that came over a network, or was imported by
// such a scene, names no file of this machine, unless std_limits allows it. Images and imports that
// are not plain files are refused, imports past 64 files in one another or 10000 in all as well.
#ifndef WDB_WDB_LOAD_H
#define WDB_WDB_LOAD_H

class Std_URL;
class WDB_Database;
class WDB_Lex_Context;
class WDB_Sym_Context;
struct WDB_Load_Report;

// Relative URLs in the file are taken against `base`, or against `url` if that is null.
// On failure: null, if `url` cannot be opened.
// One load at a time.
WDB_Database* wdb_load(Std_URL* url, Std_URL* base);
WDB_Database* wdb_load(const char* url, const char* base);

// The same; afterwards `report` tells how it went, whatever it held before. The messages are the
// same as well.
WDB_Database* wdb_load(Std_URL* url, Std_URL* base, WDB_Load_Report& report);
WDB_Database* wdb_load(const char* url, const char* base, WDB_Load_Report& report);

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
