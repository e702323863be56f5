// A document of another format in a file of its own, from which a command makes a scene: VRML by
// nolt_fromvrml, models by nolt_frommodel.
//
//     const char* format = foreign_format(begin, length, url);         // null for a scene
//     Foreign_Document document(format);
//     if (document.is_open() && document.store(line, length, input))
//         std::FILE* const scene = document.convert(filter, url, prefix);
//
// The command reads a copy because the document may come from a network or through a pipe, and the
// way there is closed before the scene is read. The copy has no name, so none is left behind.
// Internal.
#ifndef WDB_FOREIGN_DOCUMENT_H
#define WDB_FOREIGN_DOCUMENT_H

#include <cstddef>
#include <cstdio>

class Scene_Input;
class Std_Filter;
class Std_URL;

// "vrml", or the suffix of a format of models that this text or data begins as; null for what is to
// be read as a scene. Formats without a mark go by the suffix of the URL, but what reads as a scene
// is one under any name.
const char* foreign_format(const char* begin, std::size_t length, const Std_URL* url);

class Foreign_Document {
public:
    explicit Foreign_Document(const char* format);
    Foreign_Document(const Foreign_Document&) = delete;
    Foreign_Document& operator=(const Foreign_Document&) = delete;
    // A command that has been started goes on reading.
    ~Foreign_Document();

    // Whether there is a file to store the document in.
    bool is_open() const { return copy_ >= 0; }

    // A first line, which may lie in the input's block, and all that follows it there.
    // On failure: false, with errno.
    bool store(const char* line, std::size_t length, Scene_Input& rest);

    // Starts the command. `prefix` is for its names, `url` is where the document came from: what
    // lies beside it may become part of the scene.
    // On failure: null, with errno.
    std::FILE* convert(Std_Filter& filter, const Std_URL* url, const char* prefix);

    // Where the pictures are that lay in a model, while its scene is read; null if there is no such
    // folder. Whoever reads the scene removes it: a picture that is damaged, or a load that ends
    // early, must leave nothing.
    const char* images() const { return images_; }
    static void remove_images(const char* folder);

private:
    bool is_vrml() const;

    const char* const format_;
    const int copy_;
    const char* images_ = nullptr;
};

#endif
