#include "tools/Vrml_Files.h"

#include <functional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/Vrml_Budget.h"
#include "tools/Vrml_Parser.h"
#include "tools/Vrml_Report.h"
#include "tools/Vrml_Text.h"

static const int most_files = 64;
static const int deepest = 8; // files that take prototypes from files

Vrml_Files::Vrml_Files(std::string folder, Vrml_Report& report, Vrml_Budget& budget)
    : main_folder_(folder), folder_(std::move(folder)), report_(report), budget_(budget) {}

Vrml_Files::~Vrml_Files() = default;

// False also for what may have no end, such as a pipe or a device.
static bool read_plain_file(const std::string& path, Vrml_Budget& budget, std::string* text) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return false;
    struct stat status;
    bool is_read = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
                   budget.take_bytes(static_cast<std::size_t>(status.st_size));
    if (is_read) {
        text->resize(static_cast<std::size_t>(status.st_size));
        std::size_t at = 0;
        while (at < text->size()) {
            const ssize_t got = read(descriptor, text->data() + at, text->size() - at);
            if (got <= 0) break;
            at += static_cast<std::size_t>(got);
        }
        is_read = at == text->size();
    }
    close(descriptor);
    return is_read;
}

Vrml_Files::File& Vrml_Files::file(const std::string& path) {
    // Entered before it is read: a file that comes back to itself finds an empty one.
    const auto [at, is_new] = files_.try_emplace(path);
    File& file = at->second;
    if (!is_new || static_cast<int>(files_.size()) > most_files || depth_ >= deepest) return file;
    if (!read_plain_file(path, budget_, &file.text)) return file;
    const int version = vrml_version(file.text);
    if (version == 0) return file;
    report_.add_text(file.text, path);
    file.parser = std::make_unique<Vrml_Parser>(file.text, version == 1, this, report_, budget_);
    // Names in a file are relative to its own folder.
    const std::string outer = folder_;
    folder_ = path.substr(0, path.find_last_of('/'));
    ++depth_;
    file.parser->parse();
    --depth_;
    folder_ = outer;
    file.is_read = true;
    return file;
}

const Vrml_Prototype* Vrml_Files::prototype(std::string_view url) {
    std::string path = vrml_string(url);
    std::string name;
    if (const std::size_t at = path.find('#'); at != std::string::npos) {
        name = path.substr(at + 1);
        path.resize(at);
    }
    // Only by a relative path, and only for files that are local themselves: a document from the
    // net must not find out what is here.
    if (folder_.empty() || path.empty() || path[0] == '/' || path.find(':') != std::string::npos)
        return nullptr;
    const File& found = file(folder_ + "/" + path);
    return found.is_read ? found.parser->prototype(name) : nullptr;
}

std::string Vrml_Files::url(std::string_view token) const {
    std::string url = vrml_string(token);
    if (url.empty() || url[0] == '/' || url[0] == '#' || url.find(':') != std::string::npos)
        return url;
    const std::less_equal<const char*> is_before;
    for (const auto& [path, file] : files_)
        if (is_before(file.text.data(), token.data()) &&
            is_before(token.data(), file.text.data() + file.text.size()))
            return path.substr(main_folder_.size() + 1,
                               path.find_last_of('/') - main_folder_.size()) +
                   url;
    return url;
}
