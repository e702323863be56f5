// A file that is written whole or not at all.
//
//     Std_Output_File out;
//     if (!out.open("town.3d", Std_Output_File::FOLLOW_LINKS)) return complain(errno);
//     bool is_good = write_all(out.descriptor());
//     if (!is_good || !out.commit()) complain(errno);    // an old town.3d is as it was
//
// The bytes go into a new file beside the target, which takes the target's place at the end: it has
// the mode bits of an old file, and is on the disk before that one goes. Until then it has no name,
// where the system allows that, so that a process that is killed leaves nothing. Where the folder
// may not be written, and where the target is no plain file (such as /dev/stdout), it is written in
// place. Not for several writers of one target: the last to commit wins.
#ifndef STD_STD_OUTPUT_FILE_H
#define STD_STD_OUTPUT_FILE_H

class Std_Output_File {
public:
    // What a target means that is a symbolic link: the file behind it, or itself, so that whoever
    // planted the link does not choose what is written over.
    enum Links { FOLLOW_LINKS, REPLACE_LINKS };

    Std_Output_File() = default;
    Std_Output_File(const Std_Output_File&) = delete;
    Std_Output_File& operator=(const Std_Output_File&) = delete;
    // Discards what was not committed.
    ~Std_Output_File() { discard(); }

    // On failure: false, with errno.
    bool open(const char* path, Links links);

    // For writing, above 2; -1 when closed.
    int descriptor() const { return descriptor_; }

    // Makes the bytes the file at the path, and closes.
    // On failure: false, with errno; an old file stays as it was, unless it was written in place.
    bool commit();

    // The same in two steps, for files that belong together: all that may take room or time, so
    // that a name is all that is left to change; the descriptor is closed, and the file stands
    // beside the target.
    // On failure: as of commit.
    bool prepare();
    // For files that are prepared: all get their places, in this order, or none does.
    // On failure: false, with errno.
    static bool commit_all(Std_Output_File* const files[], int count);

    // Closes without a trace, unless the file was written in place.
    void discard();

private:
    bool open_beside();
    bool open_in_place(int more_flags);
    bool put_in_place(bool keeps_old);
    void take_back();
    void give_up_old();

    int descriptor_ = -1;
    bool replaces_ = false;           // a file that was there
    const char* target_ = nullptr;    // links resolved
    bool is_nameless_ = false;        // beside the target, until it is complete
    const char* temporary_ = nullptr; // its name, if it has one
    bool is_in_place_ = false;        // the new file, while it may still be taken back
    const char* old_ = nullptr;       // a name of the old file, meanwhile
    bool is_first_ = false;           // there was none
};

#endif
