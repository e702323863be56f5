// How far a load is, told to the program, who may end it. Internal.
//
//     Load_Progress progress(options);
//     progress.begin_document(size);            // of each document, when it is opened; -1: unknown
//     progress.came(count, true);               // of what it gave; 0 at its end
//     if (progress.is_cancelled()) stop();
#ifndef WDB_LOAD_PROGRESS_H
#define WDB_LOAD_PROGRESS_H

#include <cstddef>

struct WDB_Load_Options;

class Load_Progress {
public:
    // Lifetime: `options` are those of the caller, and have a progress.
    explicit Load_Progress(const WDB_Load_Options& options) : options_(options) {}
    Load_Progress(const Load_Progress&) = delete;
    Load_Progress& operator=(const Load_Progress&) = delete;

    void begin_document(long long size);
    // `is_of_document`: not made of it by a converter, as it does not count then.
    void came(std::size_t count, bool is_of_document);
    // Something else that takes time has been done.
    void tell();

    bool is_cancelled() const { return is_cancelled_; }

private:
    const WDB_Load_Options& options_;
    long long done_ = 0, total_ = 0;
    long long since_ = 0; // came since the last call
    bool is_total_known_ = true;
    bool is_cancelled_ = false;
};

#endif
