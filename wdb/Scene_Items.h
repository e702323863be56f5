// Triangles and lines as text of a scene file. Internal.
#ifndef WDB_SCENE_ITEMS_H
#define WDB_SCENE_ITEMS_H

class Scene_Buffer;
class WDB_Line_List;
struct WDB_Line;
struct WDB_Triangle;

// What is to be told of one that was written.
enum Scene_Item_Fault {
    SCENE_ITEM_GOOD,
    SCENE_ITEM_INFINITE,  // a number is infinite or none
    SCENE_ITEM_MISREAD,   // the same, where the reader takes its letters for a section
    SCENE_ITEM_TOO_LONG,  // for a line of the reader
    SCENE_ITEM_NO_NORMAL, // which the reader drops
};

Scene_Item_Fault scene_write_triangle(Scene_Buffer& out, const WDB_Triangle& triangle,
                                      bool with_colors);
// With what the list says that lines have.
Scene_Item_Fault scene_write_line(Scene_Buffer& out, const WDB_Line& line,
                                  const WDB_Line_List& list);

#endif
