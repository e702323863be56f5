// The files that a model may be read from: the document itself, which is in memory, and what lies
// beside or below it.
//
//     importer.SetIOHandler(new Model_Files(std::move(document), "obj", "models"));
//     importer.ReadFile(Model_Files::document_name("obj"), steps);
#ifndef TOOLS_MODEL_FILES_H
#define TOOLS_MODEL_FILES_H

#include <string>

#include <assimp/IOStream.hpp>
#include <assimp/IOSystem.hpp>

// As URLs have paths: "a%20b" is "a b".
std::string percent_decoded(const std::string& path);

// The real place of a regular file, by a path from the folder, if that lies in it or below, links
// followed; else empty.
std::string model_companion(const std::string& folder, const std::string& path);

class Model_Files : public Assimp::IOSystem {
public:
    // Of a format with that suffix. Without a folder there are no other files.
    Model_Files(std::string document, const std::string& suffix, const std::string& folder);

    static std::string document_name(const std::string& suffix) { return "model." + suffix; }

    bool Exists(const char* path) const override;
    char getOsSeparator() const override { return '/'; }
    // Null for what may not be read, or is not to be found.
    Assimp::IOStream* Open(const char* path, const char* mode) override;
    void Close(Assimp::IOStream* stream) override { delete stream; }

private:
    // Of a file that lies in the folder by its real place, links followed; else empty.
    std::string place_of(const char* path) const;

    const std::string document_, name_;
    const std::string folder_;
};

#endif
