// A small self-test harness: compares texts and prints a fixed report.
//
//     Std_Test tests;
//     tests.start("Bbox");
//     tests.test("center", does, "0.5 0.5 0.5");
//     tests.unchecked_test("print", does, "see for yourself");
//     tests.finish();              // "   Bbox passed all checkable tests."
//
// The report goes to the standard output stream; failures and the summary of a group go to the
// standard error stream as well, in lines that begin with "## ". A null text counts as "?".
#ifndef STD_STD_TEST_H
#define STD_STD_TEST_H

#include "std/Std_Obj.h"

class Std_Test : public Std_Obj {
    STD_OBJ_CLASS(Std_Test, Std_Obj)

    // Opens a group; one with tests that is still open is finished first.
    // Lifetime: `name` must last until the group is finished.
    void start(const char* name);

    // Succeeds if `does` and `should` are the same text.
    void test(const char* description, const char* does, const char* should);

    // Shows both and never fails, but counts as a test.
    void unchecked_test(const char* description, const char* does, const char* should);

    // Writes the summary of the group and counts from 0 again.
    void finish();

private:
    void begin_line(const char* description);

    const char* name_ = nullptr;
    int total_ = 0;
    int failed_ = 0;
};

#endif
