// A VRML document in a file of its own, from which the command nolt_fromvrml makes a scene.
//
//     Vrml_Document document;
//     if (document.is_open() && document.store(line, length, input))
//         std::FILE* const scene = document.convert(filter, url, prefix);
//
// The command reads a copy because the document may come from a network or through a pipe, and the
// way there is closed before the scene is read. The copy has no name, so none is left behind.
// Internal.
#ifndef WDB_VRML_DOCUMENT_H
#define WDB_VRML_DOCUMENT_H

#include <cstddef>
#include <cstdio>

class Scene_Input;
class Std_Filter;
class Std_URL;

class Vrml_Document {
public:
    Vrml_Document();
    Vrml_Document(const Vrml_Document&) = delete;
    Vrml_Document& operator=(const Vrml_Document&) = delete;
    // A command that has been started goes on reading.
    ~Vrml_Document();

    // Whether there is a file to store the document in.
    bool is_open() const { return copy_ >= 0; }

    // A first line, which may lie in the input's block, and all that follows it there.
    // On failure: false, with errno.
    bool store(const char* line, std::size_t length, Scene_Input& rest);

    // Starts the command. `prefix` is for its temporary files, `url` is where the document came
    // from: what lies beside it may become part of the scene.
    // On failure: null, with errno.
    std::FILE* convert(Std_Filter& filter, const Std_URL* url, const char* prefix) const;

private:
    int copy_;
};

#endif
