#include "tools/Vrml_Report.h"

#include <cctype>
#include <functional>

// A terminal may show them.
static std::string shown(std::string_view what) {
    const std::size_t longest = 100;
    std::string text(what.substr(0, longest));
    for (char& c : text)
        if (!std::isprint(static_cast<unsigned char>(c))) c = '?';
    return text;
}

void Vrml_Report::add_text(std::string_view text, const std::string& name) {
    texts_.push_back({text, shown(name)});
}

void Vrml_Report::skip(std::string_view what, std::string_view where) {
    const std::size_t most_kinds = 60;
    const std::string text = shown(what);
    auto at = kinds_.find(text);
    if (at == kinds_.end())
        at = kinds_.try_emplace(kinds_.size() < most_kinds ? text : "other things").first;
    Kind& kind = at->second;
    if (kind.count++ == 0) kind.first = where.data();
}

void Vrml_Report::fail(std::string_view reason, std::string_view where) {
    Kind& kind = failures_[shown(reason)];
    if (kind.count++ == 0) kind.first = where.data();
}

// Counted when it is shown only: most places are never asked for. Lines end with CR LF, LF or CR.
std::string Vrml_Report::line_of(const char* where) const {
    const std::less<const char*> before;
    for (const Text& t : texts_) {
        const char* const end = t.text.data() + t.text.size();
        if (!where || before(where, t.text.data()) || before(end, where)) continue;
        int line = 1;
        for (const char* p = t.text.data(); p < where; ++p)
            line += *p == '\n' || (*p == '\r' && p + 1 < end && p[1] != '\n');
        return "line " + std::to_string(line) + (t.name.empty() ? "" : " of " + t.name);
    }
    return "";
}

void Vrml_Report::show(std::FILE* out) const {
    for (const auto& [reason, kind] : failures_) {
        const std::string line = line_of(kind.first);
        std::fprintf(out, "nolt_fromvrml: %s%s%s\n", line.c_str(), line.empty() ? "" : ": ",
                     reason.c_str());
    }
    for (const auto& [what, kind] : kinds_) {
        const std::string line = line_of(kind.first);
        std::fprintf(out, "nolt_fromvrml: skipped %d: %s%s%s\n", kind.count, what.c_str(),
                     line.empty()     ? ""
                     : kind.count > 1 ? ", first in "
                                      : ", ",
                     line.c_str());
    }
}
