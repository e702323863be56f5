// What one conversion may cost, all its files together. A hostile file can name a thing again and
// again, each time within another; so what is counted is the work done, not the text read.
#ifndef TOOLS_VRML_BUDGET_H
#define TOOLS_VRML_BUDGET_H

#include <cstddef>
#include <string_view>

class Vrml_Report;

class Vrml_Budget {
public:
    // Nodes, fields and indices looked at; the standard number takes a few seconds.
    static constexpr std::size_t MOST_WORK = 60'000'000;

    explicit Vrml_Budget(Vrml_Report& report, std::size_t most_work = MOST_WORK)
        : report_(report), work_left_(most_work) {}

    // False once the conversion has cost enough, which is told once with a place in the text. Then
    // it stays false for all that costs anything.
    bool spend(std::size_t work, std::string_view where);
    bool take_object(std::string_view where);   // a node or field in memory
    bool take_instance(std::string_view where); // of a prototype
    bool take_shape(std::string_view where);    // a block of the scene
    bool take_triangle(std::string_view where);
    bool take_bytes(std::size_t bytes); // of text, of all files together; not told

    bool is_spent() const { return is_spent_; }

private:
    bool take(std::size_t* left, const char* reason, std::string_view where);

    Vrml_Report& report_;
    bool is_spent_ = false;
    std::size_t work_left_;
    std::size_t objects_left_ = 4'000'000;
    std::size_t instances_left_ = 500'000;
    std::size_t shapes_left_ = 200'000;
    std::size_t triangles_left_ = 5'000'000;
    std::size_t bytes_left_ = 128u << 20;
};

#endif
