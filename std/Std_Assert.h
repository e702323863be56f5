// The one reporter: progress, warnings and fatal conditions alike.
//
//     std_assert(2, "Bad vertex to smooth", __FILE__, __LINE__);
//
// The caller decides the condition; this is a report, not a test. Levels:
//
//      0  information  to the current Std_Messager (std/Std_Messager.h)
//      1  debug        "DEBUG  : message"
//      2  warning      "WARNING: message in line 12 of file wdb/X.cc"
//     -1  fatal        "FATAL  : message in line 12 of file wdb/X.cc"
//
// All but information goes to the standard error stream, one line and one write
// per report, with control characters shown as in std/Std_Line.h. Any other level is itself an
// error and aborts.
//
// The environment variable STD_ASSERT_LEVEL, read once, decides about core
// dumps: from 1 a fatal report aborts instead of exiting with status 1, from 2 a
// warning aborts too.
#ifndef STD_STD_ASSERT_H
#define STD_STD_ASSERT_H

// Reports. Returns for levels 0 and 1, and for 2 unless STD_ASSERT_LEVEL says
// otherwise; never for -1. A fatal exit runs no destructors and flushes nothing.
// A null `message` reads "?". Lines are cut at 1023 characters.
void std_assert(int level, const char* message, const char* file, int line);

#endif
