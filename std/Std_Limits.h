// What a document from somewhere else may cost. All limits stand here; a program sets others before
// it loads.
//
//     std_limits.image_pixels = 1 << 20;
//     std_limits.http_seconds = 10;
//
// What is over a limit is refused or ends there, with a report; what was read until then stays.
#ifndef STD_STD_LIMITS_H
#define STD_STD_LIMITS_H

struct Std_Limits {
    // Width times height of an image, tested before memory is taken for it.
    long long image_pixels = 1ll << 26;

    // A document of this machine that is not compressed.
    long long local_bytes = 1ll << 32;

    // A compressed document may unpack to this many bytes, and beyond to so many times its own
    // size.
    long long unpacked_bytes = 1ll << 26;
    long long unpacked_ratio = 64;

    // Of all documents of one load together, scenes and images alike: what comes over a network,
    // what packed ones unpack to, and what is stored in temporary files.
    long long load_fetched_bytes = 1ll << 33;
    long long load_unpacked_bytes = 1ll << 33;
    long long load_stored_bytes = 1ll << 33;

    // Files that one load imports, and the time after which it imports no more.
    int imports = 10000;
    double import_seconds = 600;

    // Whether a scene that came over a network may name images and imports of this machine.
    bool local_files_of_remote_scenes = false;

    // An answer over http: its size, the time for all of it, from the look-up of the host's name
    // on, and what must come in each minute, which is looked at once in so many seconds.
    long long http_bytes = 1ll << 32;
    double http_seconds = 3600;
    long long http_bytes_a_minute = 1024;
    double http_pace_seconds = 60;
};

inline constinit Std_Limits std_limits;

#endif
