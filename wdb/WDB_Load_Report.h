// How a load went, in numbers: what was told in words while it ran.
//
//     WDB_Load_Report report;
//     WDB_Database* world = wdb_load(url, nullptr, report);
//     if (report.errors > 0) return 1;
#ifndef WDB_WDB_LOAD_REPORT_H
#define WDB_WDB_LOAD_REPORT_H

struct WDB_Load_Report {
    // What the scene says and the world lacks: each "Error" that was reported, each picture that
    // could not be read wholly, and each document that cannot be opened, unpacked or converted,
    // breaks off, or lacks its end.
    int errors = 0;

    // What looks like a mistake but loses nothing that the reader could keep: each object that was
    // left out because one of its name came before.
    int warnings = 0;

    // What a VRML file or a model has and a scene cannot hold: things that its converter left out,
    // each of which it named.
    int notes = 0;

    // Files read because another names them, each as often as it was read.
    int imports = 0;

    // Whether the program ended the load before all was read. What was read to its end is there,
    // and that the rest is missing is no error.
    bool is_cancelled = false;
};

#endif
