#include "std/Std_Test.h"

#include <cstdio>

#include "std/Std_Compare.h"

static const char* shown(const char* text) {
    return text ? text : "?";
}

static void print_both(const char* does, const char* should) {
    std::printf("   Should = %s\n   Does   = %s\n\n", should, does);
}

void Std_Test::begin_line(const char* description) {
    ++total_;
    std::printf("   %s Test %d (%s) ", shown(name_), total_, description);
}

void Std_Test::start(const char* name) {
    if (total_ > 0) finish();
    name_ = name;
    total_ = failed_ = 0;
    std::printf("\nTesting %s:\n\n", shown(name_));
}

// Both streams are told: the standard output is the protocol, the error stream what somebody looks
// at.
void Std_Test::test(const char* description, const char* does, const char* should) {
    description = shown(description);
    does = shown(does);
    should = shown(should);
    const bool is_equal = charptr_equal(does, should);
    begin_line(description);
    std::printf(is_equal ? " succeeded.\n" : " FAILED!\n");
    print_both(does, should);
    if (is_equal) return;
    ++failed_;
    std::fprintf(stderr, "## %s Test %d (%s) FAILED!\n", shown(name_), total_, description);
}

void Std_Test::unchecked_test(const char* description, const char* does, const char* should) {
    begin_line(shown(description));
    std::printf("unckecked.\n"); // so spelt in all reports; those who compare them count on it
    print_both(shown(does), shown(should));
}

// A test may be finished by the start of the next one: the counts begin anew, so that it is summed
// up once.
void Std_Test::finish() {
    const struct {
        std::FILE* stream;
        const char* prefix;
    } reports[] = {{stderr, "## "}, {stdout, "   "}};
    for (const auto& to : reports) {
        if (failed_ == 0) {
            std::fprintf(to.stream, "%s%s passed all checkable tests.\n", to.prefix, shown(name_));
        } else {
            std::fprintf(to.stream, "%s%s failed %d of %d checkable tests.\n", to.prefix,
                         shown(name_), failed_, total_);
        }
    }
    total_ = failed_ = 0;
}
