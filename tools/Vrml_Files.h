// The local files that a VRML file takes prototypes from (EXTERNPROTO), each read once.
//
//     Vrml_Files files("models", report, budget);
//     const Vrml_Prototype* p = files.prototype("\"lamps.wrl#Desk");
//
// Only plain files are opened, and only by paths relative to the file that names them. Nothing is
// fetched.
#ifndef TOOLS_VRML_FILES_H
#define TOOLS_VRML_FILES_H

#include <map>
#include <memory>
#include <string>
#include <string_view>

class Vrml_Budget;
class Vrml_Parser;
class Vrml_Report;
struct Vrml_Prototype;

class Vrml_Files {
public:
    // `folder` holds the main file; without one no file is opened.
    // Lifetime: prototypes live as long as this.
    Vrml_Files(std::string folder, Vrml_Report& report, Vrml_Budget& budget);
    ~Vrml_Files();
    Vrml_Files(const Vrml_Files&) = delete;
    Vrml_Files& operator=(const Vrml_Files&) = delete;

    // Of the file and the name behind its "#", or the first one of the file without a name. `url`
    // is a token with its quote in front. On failure: null; so also within a file that is still
    // being read, and past the limits of files.
    const Vrml_Prototype* prototype(std::string_view url);

    // What a token says as a URL, for the main file: a relative one is meant from the file it
    // stands in.
    std::string url(std::string_view token) const;

private:
    struct File {
        std::string text;
        std::unique_ptr<Vrml_Parser> parser; // null where the file could not be read
        bool is_read = false;
    };
    File& file(const std::string& path);

    const std::string main_folder_;
    std::string folder_; // of the file that is being read
    Vrml_Report& report_;
    Vrml_Budget& budget_;
    std::map<std::string, File> files_;
    int depth_ = 0;
};

#endif
