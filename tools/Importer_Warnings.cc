#include "tools/Importer_Warnings.h"

#include <assimp/DefaultLogger.hpp>
#include <assimp/LogStream.hpp>

class Warning_Stream : public Assimp::LogStream {
public:
    explicit Warning_Stream(Importer_Warnings& warnings) : warnings_(warnings) {}
    void write(const char* message) override { warnings_.add(message); }

private:
    Importer_Warnings& warnings_;
};

Importer_Warnings::Importer_Warnings() {
    const unsigned no_other_streams = 0;
    Assimp::DefaultLogger::create("", Assimp::Logger::NORMAL, no_other_streams);
    // It owns the stream.
    Assimp::DefaultLogger::get()->attachStream(new Warning_Stream(*this), Assimp::Logger::Warn);
}

Importer_Warnings::~Importer_Warnings() {
    Assimp::DefaultLogger::kill();
}

void Importer_Warnings::add(std::string text) {
    const std::size_t most = 50, longest = 200;
    // "Warn,  T0: " stands in front.
    const std::size_t mark = text.find(": ");
    if (mark != text.npos) text.erase(0, mark + 2);
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.pop_back();
    text.resize(std::min(text.size(), longest));
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    if (all_.size() < most && !text.empty()) all_.insert(text);
}
