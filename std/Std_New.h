// Whose the default operators new and delete of the process are. Internal.
#ifndef STD_STD_NEW_H
#define STD_STD_NEW_H

// Finds it out, and warns where pointers in such memory will not be seen. Once, by the thread that
// starts the collector, as soon as it may allocate.
void std_probe_plain_new();

#endif
