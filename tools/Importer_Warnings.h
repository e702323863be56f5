// What the importer says while it reads: what it could not take it leaves out with a warning.
//
//     Importer_Warnings warnings;
//     const aiScene* const scene = importer.ReadFile(...);
//     for (const std::string& warning : warnings.all()) tell(warning);
#ifndef TOOLS_IMPORTER_WARNINGS_H
#define TOOLS_IMPORTER_WARNINGS_H

#include <set>
#include <string>

// One at a time.
class Importer_Warnings {
public:
    Importer_Warnings();
    Importer_Warnings(const Importer_Warnings&) = delete;
    Importer_Warnings& operator=(const Importer_Warnings&) = delete;
    ~Importer_Warnings();

    // Each kind once, as a line of text that can be shown; of very many only the first.
    const std::set<std::string>& all() const { return all_; }

private:
    friend class Warning_Stream;
    void add(std::string text);

    std::set<std::string> all_;
};

#endif
