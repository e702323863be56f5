// Pictures of formats that the library does not read itself: the command nolt_fromimage makes SGI
// images of PNG and JPEG. Internal.
//
//     bool is_whole;
//     if (is_foreign_image(file)) file = converted_image(file, "roof.png", &is_whole);
//
// A process of its own, so that hostile files meet nothing of the program, and programs link no
// more libraries.
#ifndef IMAGES_FOREIGN_IMAGE_H
#define IMAGES_FOREIGN_IMAGE_H

// By its first bytes, whatever its name.
bool is_foreign_image(int file);

// The same picture in a file without a name; `file` is closed. `is_whole` tells whether all of it
// came. `source` is for reports. On failure: -1, reported.
int converted_image(int file, const char* source, bool* is_whole);

#endif
