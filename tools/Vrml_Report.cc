#include "tools/Vrml_Report.h"

#include <cctype>

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

void Vrml_Report::skip(std::string_view what, std::string_view where, int count) {
    const std::size_t most_kinds = 60;
    const std::string text = shown(what);
    auto at = kinds_.find(text);
    if (at == kinds_.end())
        at = kinds_.try_emplace(kinds_.size() < most_kinds ? text : "other things").first;
    Kind& kind = at->second;
    if (kind.count == 0) kind.first = where.data();
    kind.count += count;
}

void Vrml_Report::fail(std::string_view reason, std::string_view where) {
    Kind& kind = failures_[shown(reason)];
    if (kind.count++ == 0) kind.first = where.data();
}

// The lines of all places that are to be shown, in one sweep over the texts. Lines end with CR LF,
// LF or CR.
Vrml_Report::Lines Vrml_Report::find_lines() const {
    Lines lines;
    for (const auto* kinds : {&failures_, &kinds_})
        for (const auto& [what, kind] : *kinds)
            if (kind.first) lines[kind.first];
    for (const Text& t : texts_) {
        const char *p = t.text.data(), *const end = p + t.text.size();
        int number = 1;
        for (auto at = lines.lower_bound(p); at != lines.end() && at->first <= end; ++at) {
            for (; p < at->first; ++p)
                number += *p == '\n' || (*p == '\r' && p + 1 < end && p[1] != '\n');
            at->second = "line ";
            at->second += std::to_string(number) + (t.name.empty() ? "" : " of ") + t.name;
        }
    }
    return lines;
}

void Vrml_Report::show(std::FILE* out, const char* mark) const {
    const Lines lines = find_lines();
    const auto line_of = [&](const Kind& kind) {
        const auto at = lines.find(kind.first);
        return at == lines.end() ? "" : at->second.c_str();
    };
    for (const auto& [reason, kind] : failures_) {
        const char* const line = line_of(kind);
        std::fprintf(out, "%snolt_fromvrml: %s%s%s\n", mark, line, *line ? ": " : "",
                     reason.c_str());
    }
    for (const auto& [what, kind] : kinds_) {
        const char* const line = line_of(kind);
        const char* const first = kind.count > 1 ? ", first in " : ", ";
        std::fprintf(out, "%snolt_fromvrml: skipped %d: %s%s%s\n", mark, kind.count, what.c_str(),
                     *line ? first : "", line);
    }
}
