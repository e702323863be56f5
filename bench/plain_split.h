// The components of a triangle list as wdb_topology_split finds them, the plain way: each time
// through, every triangle that is left is tested against the corners of the component.
#ifndef BENCH_PLAIN_SPLIT_H
#define BENCH_PLAIN_SPLIT_H

#include <string>
#include <vector>

#include "base/Hash_Set.h"
#include "std/Std_Common.h"
#include "wdb/Point_Key.h"
#include "wdb/WDB_Tri_List.h"

struct Plain_Split {
    explicit Plain_Split(const WDB_Tri_List& list);

    std::vector<std::vector<const WDB_Triangle*>> parts;
    std::string reports; // a line feed after each

private:
    void add(const WDB_Triangle* triangle);
    bool shares_one_edge(const WDB_Triangle* t) const {
        return points.has(&t->p0) ? points.has(&t->p1) || points.has(&t->p2)
                                  : points.has(&t->p1) && points.has(&t->p2);
    }

    Hash_Set<const Point*> points{pnt_hash, pnt_equal};
};

inline void Plain_Split::add(const WDB_Triangle* triangle) {
    parts.back().push_back(triangle);
    for (const Point* p : {&triangle->p0, &triangle->p1, &triangle->p2}) points.put(p);
}

inline Plain_Split::Plain_Split(const WDB_Tri_List& list) {
    const std::string prefix = "TOPOLOGY_SPLITTER: ", name = list.get_name();
    const auto say = [&](const char* text) { reports += prefix + text + "\n"; };
    say(str_format("Handling geometry %s with %d triangles", name.c_str(), list.count()));
    std::vector<const WDB_Triangle*> left;
    for (int i = 0; i < list.count(); ++i) left.push_back(&list[i]);
    while (!left.empty()) {
        parts.emplace_back();
        points.wipe_out();
        add(left[0]);
        left.erase(left.begin());
        for (bool has_grown = true; has_grown;) {
            has_grown = false;
            std::size_t kept = 0;
            for (const WDB_Triangle* const triangle : left) {
                if (shares_one_edge(triangle)) {
                    add(triangle);
                    has_grown = true;
                } else {
                    left[kept++] = triangle;
                }
            }
            left.resize(kept);
            if (has_grown) {
                say(str_format("Connected component #%zu of geometry %s has grown to %zu "
                               "triangles - reiterating\n",
                               parts.size(), name.c_str(), parts.back().size()));
            }
        }
        say(str_format("Connected component #%zu of geometry %s has %zu triangles\n", parts.size(),
                       name.c_str(), parts.back().size()));
    }
    say(str_format("Geometry %s splitted into %zu components", name.c_str(), parts.size()));
}

#endif
