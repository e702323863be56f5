#include "wdb/WDB_Lod_View.h"

#include "tests/wdb/support.h"
#include "wdb/WDB_Pick.h"

// The square -1 to 1 in the plane z = 0, as often as told; with a box of its own.
static WDB_Tri_List* squares(int triangles, float size = 1) {
    std::vector<WDB_Triangle> all;
    for (int i = 0; i < triangles; ++i)
        all.push_back(i % 2 ? WDB_Triangle({-size, -size, 0}, {size, size, 0}, {-size, size, 0})
                            : WDB_Triangle({-size, -size, 0}, {size, -size, 0}, {size, size, 0}));
    return list_of(all);
}

static WDB_Node* node_of(const std::vector<WDB_Geometry*>& levels, const Frame& frame) {
    WDB_Node* const node = node_with(nullptr, frame);
    for (const WDB_Geometry* level : levels) node->insert_lod(level, node->lod_count());
    return node;
}

static WDB_Camera* right_angled_eye() {
    return new WDB_Camera("eye", HFrame::identity(), Matrix4::perspective(1.57079633f, 1, 1000),
                          nullptr, nullptr);
}

// At distance d the picture spans 2 * d units upwards, so a square of 2 units takes 1 / d of it.
TEST(WDB_Lod_View, levels) {
    const std::vector<WDB_Geometry*> four = {squares(80), squares(40), squares(16), squares(4)};
    WDB_Geometry* const lines =
        lines_of(std::vector<WDB_Line>(16, WDB_Line({-1, -1, 0}, {1, 1, 0})));
    const float inf = FLT_MAX;
    struct Row {
        const char* row;
        std::vector<WDB_Geometry*> levels;
        Frame frame;
        int should;
        std::vector<float> distances = {};
    };
    const auto at = [](float d) { return Frame::translation(0, 0, -d); };
    // Eight items for each pixel of 60 / d: the third level serves 2 pixels, the second 5.
    const Row rows[] = {
        {"near", four, at(2), 0},
        {"just too near for the second", four, at(11.9f), 0},
        {"far enough for the second", four, at(12.1f), 1},
        {"just too near for the third", four, at(29.9f), 1},
        {"far enough for the third", four, at(30.1f), 2},
        {"coarsest", four, at(200), 3},
        {"large", four, Frame::scaling(10) * at(121), 1},
        {"wide counts as its square root", four, Frame::scaling(4, 1, 1) * at(24.2f), 1},
        {"partly behind the eye", four, Frame::rotation(0, 1.5f) * at(.5f), 0},
        {"lines", {four[0], lines}, at(30.1f), 1},
        {"of no known kind", {four[0], new Odd_Geometry}, at(900), 0},
        {"none", {}, at(5), -1},
        {"by distance", four, at(12.1f), 2, {5, 10, 15, 20}},
        {"as far as that", four, at(10), 1, {5, 10, 15, 20}},
        {"too far for all", four, at(21), -1, {5, 10, 15, 20}},
        {"without an end", four, at(900), 1, {5, inf, 15, 20}},
        {"one level, too far", {four[0]}, at(21), -1, {20}},
        {"nowhere", four, Frame::translation(NAN, 0, 0), 0, {5, 10, 15, 20}},
    };
    for (const auto& [row, levels, frame, should, distances] : rows) {
        WDB_Node* const node = node_of(levels, frame);
        for (int i = 0; i < static_cast<int>(distances.size()); ++i)
            node->set_lod_distance(i, distances[std::size_t(i)]);
        // Whatever the aspect.
        for (const int width : {60, 120})
            EXPECT_EQ(WDB_Lod_View(*right_angled_eye(), width, 60).level_of(*node), should) << row;
    }
    const WDB_Lod_View view(*right_angled_eye(), 90, 60);
    EXPECT_NEAR(view.edge_of(*node_of(four, at(10))), 6, 1e-4);
    EXPECT_EQ(view.distance_of(*node_of(four, Frame::translation(3, 4, -12))), 13);
}

// Distances go with the number of levels, and with no copy of the node.
TEST(WDB_Lod_View, distances_of_a_node) {
    WDB_Tri_List* const level = squares(2);
    const std::pair<std::function<void(WDB_Node*)>, bool> rows[] = {
        {[&](WDB_Node* n) { n->replace_lod(squares(4), 1); }, true},
        {[&](WDB_Node* n) { n->set_transform(HFrame::identity()); }, true},
        {[&](WDB_Node* n) { n->insert_lod(level, 1); }, false},
        {[&](WDB_Node* n) { n->remove_lod(0); }, false},
        {[&](WDB_Node* n) { n->wipe_out_lods(); }, false},
        {[&](WDB_Node* n) { n->set_geometry(level); }, false},
    };
    for (const auto& [change, stays] : rows) {
        WDB_Node* const node = node_of({level, level}, Frame::identity());
        const int stamp = node->get_stamp();
        EXPECT_FALSE(node->has_lod_distances());
        node->set_lod_distance(0, 5);
        EXPECT_EQ(node->get_stamp(), stamp + 1);
        WDB_Node copy(*node);
        copy.set_lod_distance(1, 7);
        EXPECT_EQ(shown(copy.lod_distance(0), copy.lod_distance(1)), "5 7 ");
        EXPECT_EQ(shown(node->lod_distance(0), node->lod_distance(1) == FLT_MAX), "5 1 ");
        change(node);
        EXPECT_EQ(node->has_lod_distances(), stays);
    }
}

// The second level is smaller than the first.
TEST(WDB_Lod_View, picks_what_is_shown) {
    WDB_Database world;
    WDB_Camera* const camera = right_angled_eye();
    world.put(camera);
    const Frame ten_off = Frame::translation(0, 0, -10);
    WDB_Node* const node = node_of({squares(40), squares(2, .5f)}, ten_off);
    WDB_Node* const behind = node_of({squares(2, 20)}, Frame::translation(0, 0, -20));
    camera->set_geometry(list_in({-9, -9, -2}, {9, 9, -2})); // not seen by itself
    world.put(node);
    world.put(behind);
    const WDB_Lod_View fine(*camera, 90, 60), coarse(*camera, 3, 2);
    node->set_lod_distance(1, 15);
    const std::tuple<const char*, float, const WDB_Lod_View*, float, WDB_Node*, int> rows[] = {
        {"the first level", .05f, &fine, 11, node, 0},
        {"the second, beside", .05f, &fine, 9, behind, 0},
        {"the second, on it", .02f, &fine, 9, node, 1},
        {"by pixels, beside", .05f, &coarse, 0, behind, 0},
        {"by pixels, on it", .02f, &coarse, 0, node, 1},
        {"too far", .02f, &fine, -1, behind, 0},
    };
    const int cameras = world.camera_count();
    for (const auto& [row, x, levels, distance, should, level] : rows) {
        if (distance == 0) node->set_geometry(node->get_geometry()); // and no distances
        if (distance == 0) node->insert_lod(squares(2, .5f), 1);
        if (distance != 0) node->set_lod_distance(0, distance);
        if (distance < 0) node->set_lod_distance(1, distance);
        const WDB_Pick pick = camera->detailed_pick_at_x_y(x, .01f, 1.5f, .01f, false, *levels);
        EXPECT_EQ(pick.node, should) << row;
        EXPECT_EQ(pick.level, level) << row;
        EXPECT_TRUE(pick.tri_list && pick.tri_list == should->lod_item(level)) << row;
        EXPECT_EQ(bits_of(camera->get_last_picked_point()), bits_of(pick.point)) << row;
    }
    EXPECT_EQ(world.camera_count(), cameras) << "no default camera";
    EXPECT_EQ(camera->detailed_pick_at_x_y(0, .99f, 1.5f, 0, false, fine).node, behind);
    world.remove(behind);
    EXPECT_EQ(camera->detailed_pick_at_x_y(0, .99f, 1.5f, 0, false, fine).node, nullptr);
    EXPECT_TRUE(camera->get_last_picked_point() == Point(0, 0, 0));
    EXPECT_EQ(right_angled_eye()->detailed_pick_at_x_y(0, 0, 1, 0, false, fine).node, nullptr);
}
