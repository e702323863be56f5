#include "wdb/WDB_Node.h"

#include "tests/wdb/support.h"

TEST(WDB_Node, stamps_and_boxes) {
    WDB_Tri_List* const small = list_in({0, 0, 0}, {1, 1, 1});
    WDB_Tri_List* const large = list_in({-1, 0, 0}, {3, 1, 1});
    const Bbox origin(Point(0, 0, 0), Point(0, 0, 0));
    WDB_Node* const bare = node_with(nullptr);
    EXPECT_EQ(bare->get_stamp(), 2);
    EXPECT_EQ(bare->get_bbox(), origin);
    EXPECT_EQ(bare->get_geometry(), nullptr);

    WDB_Node* const node = node_with(small, Frame::translation(5, 0, 0), "Ball");
    EXPECT_STREQ(node->get_name(), "Ball");
    EXPECT_EQ(node->get_stamp(), 3);
    EXPECT_EQ(node->get_bbox(), small->get_bbox()) << "the transform does not enter";
    const std::pair<std::function<void()>, std::string> rows[] = {
        {[&] { node->insert_lod(large, 1); }, "sl"},
        {[&] { node->insert_lod(small, 0); }, "ssl"},
        {[&] { node->replace_lod(small, 2); }, "sss"},
        {[&] { node->replace_lod(large, 1); }, "sls"},
        {[&] { node->remove_lod(0); }, "ls"},
        {[&] { node->set_geometry(small); }, "s"},
        {[&] { node->wipe_out_lods(); }, ""},
        {[&] { node->set_material(nullptr); }, ""},
        {[&] { node->set_texture(nullptr); }, ""},
        {[&] { node->set_url(nullptr); }, ""},
        {[&] { node->set_transform(HFrame::identity()); }, ""},
    };
    for (const auto& [change, should] : rows) {
        const int stamp = node->get_stamp();
        change();
        EXPECT_EQ(node->get_stamp(), stamp + 1) << should;
        std::string levels;
        for (int i = 0; i < node->lod_count(); ++i)
            levels += node->lod_item(i) == small ? 's' : 'l';
        EXPECT_EQ(levels, should);
        const bool any_large = levels.find('l') != std::string::npos;
        EXPECT_EQ(node->get_bbox(),
                  levels.empty() ? origin : (any_large ? large : small)->get_bbox());
    }
}

TEST(WDB_Node, moves_between_worlds) {
    WDB_Database a, b;
    WDB_Node* const n = node_with(list_in({0, 0, 0}, {1, 1, 1}));
    const std::tuple<std::function<void()>, int, WDB_Database*, bool> rows[] = {
        {[&] { n->set_world(&a); }, 1, &a, true},
        {[&] { n->set_world(&a); }, 1, &a, false},
        {[&] { a.put(n); }, 1, &a, false},
        {[&] { n->set_world(&b); }, 2, &b, true},
        {[&] { a.put(n); }, 1, &a, true},
        {[&] { b.remove(n); }, 1, &a, false},
        {[&] { a.remove(n); }, 0, nullptr, true},
        {[&] { b.put(n); }, 2, &b, true},
        {[&] { b.wipe_out(); }, 0, &b, false},
        {[&] { n->update_after_transform_change(); }, 2, &b, true}, // files itself again
    };
    int row = 0;
    for (const auto& [act, held_by, world, stamps] : rows) {
        ++row;
        const int stamp = n->get_stamp();
        act();
        EXPECT_EQ(a.has(n) + 2 * b.has(n), held_by) << row; // bit 0: a, bit 1: b
        EXPECT_EQ(n->get_world(), world) << row;
        EXPECT_EQ(n->get_stamp() > stamp, stamps) << row;
    }
}
