#include "wdb/WDB_Listener.h"

#include "std/Std_URL.h"
#include "tests/wdb/support.h"

namespace {
// Writes "1 put n; " for each call, and looks whether what it is told is so.
class Witness : public WDB_Listener {
public:
    Witness(const char* name, std::string* text) : name_(name), text_(text) {}
    void put(WDB_Database& w, WDB_Node& n) override { tell("put", w.has(&n), n); }
    void removed(WDB_Database& w, WDB_Node& n) override { tell("removed", !w.has(&n), n); }
    void moved(WDB_Database& w, WDB_Node& n) override { tell("moved", w.has(&n), n); }
    void geometry_changed(WDB_Database& w, WDB_Node& n) override { tell("geometry", w.has(&n), n); }
    void material_changed(WDB_Database& w, WDB_Node& n) override { tell("material", w.has(&n), n); }
    void texture_changed(WDB_Database& w, WDB_Node& n) override { tell("texture", w.has(&n), n); }
    void otherwise_changed(WDB_Database& w, WDB_Node& n) override { tell("other", w.has(&n), n); }

private:
    void tell(const char* what, bool is_so, const WDB_Node& n) {
        *text_ += std::string(name_) + what + " " + n.get_name() + (is_so ? "; " : " (not so); ");
    }
    const char* name_;
    std::string* text_;
};

// A world with what the operations of the tests need.
struct Stage {
    WDB_Database world, other;
    WDB_Tri_List* list = list_in(Point(0, 0, 0), Point(1, 1, 1));
    WDB_Node* shape = node_with(list, Frame::identity(), "shape");
    WDB_Node* mark = node_with(nullptr, Frame::identity(), "mark");
    WDB_Node* fresh = node_with(list, Frame::translation(3, 0, 0), "fresh");
    WDB_Node* far = node_with(list, Frame::translation(1e6f, 0, 0), "far"); // outside
    WDB_Camera* eye =
        new WDB_Camera("eye", HFrame::identity(), Matrix4::perspective(1, 1, 9), nullptr, nullptr);
    WDB_Light* lamp = new WDB_Light("lamp", HFrame::identity(), 1, nullptr, nullptr);
    Stage() {
        for (WDB_Node* n : {shape, mark, static_cast<WDB_Node*>(eye), static_cast<WDB_Node*>(lamp)})
            world.put(n);
        world.prepare_queries();
    }
};
} // namespace

TEST(WDB_Listener, is_told_of_each_change) {
    const HFrame place(Frame::translation(1, 2, 3));
    const struct {
        const char* row;
        std::function<void(Stage&)> change;
        const char* told;
    } rows[] = {
        {"put", [](Stage& s) { s.world.put(s.fresh); }, "put fresh; "},
        {"put outside", [](Stage& s) { s.world.put(s.far); }, "put far; "},
        {"set_world", [](Stage& s) { s.fresh->set_world(&s.world); }, "put fresh; "},
        {"put again", [](Stage& s) { s.world.put(s.mark); }, "moved mark; "},
        {"update", [](Stage& s) { s.world.update(s.fresh); }, "put fresh; "},
        {"remove", [](Stage& s) { s.world.remove(s.shape); }, "removed shape; "},
        {"to no world", [](Stage& s) { s.mark->set_world(nullptr); }, "removed mark; "},
        {"to another", [](Stage& s) { s.other.put(s.eye); }, "removed eye; "},
        {"another one's", [](Stage& s) { s.other.put(s.fresh); }, ""},
        {"remove a stranger", [](Stage& s) { s.world.remove(s.fresh); }, ""},
        {"move", [&](Stage& s) { s.shape->set_transform(place); }, "moved shape; "},
        {"move a camera", [&](Stage& s) { s.eye->set_transform(place); }, "moved eye; "},
        {"lookat", [](Stage& s) { s.eye->lookat(s.world, false); }, "moved eye; "},
        {"move a stranger", [&](Stage& s) { s.fresh->set_transform(place); }, ""},
        {"a shape less", [](Stage& s) { s.shape->set_geometry(nullptr); }, "geometry shape; "},
        {"a shape more", [](Stage& s) { s.lamp->set_geometry(s.list); }, "geometry lamp; "},
        {"levels",
         [](Stage& s) {
             s.shape->insert_lod(s.list, 1);
             s.shape->replace_lod(s.list, 1);
             s.shape->remove_lod(1);
             s.shape->update_after_geometry_change();
         },
         "geometry shape; geometry shape; geometry shape; geometry shape; "},
        {"material", [](Stage& s) { s.lamp->set_material(new WDB_Material); }, "material lamp; "},
        {"texture", [](Stage& s) { s.shape->set_texture(nullptr); }, "texture shape; "},
        {"name", [](Stage& s) { s.shape->set_name("chair"); }, "other chair; "},
        {"name of a camera", [](Stage& s) { s.eye->set_name("view"); }, "other view; "},
        {"url", [](Stage& s) { s.mark->set_url(new Std_URL("x")); }, "other mark; "},
        {"camera",
         [](Stage& s) {
             s.eye->set_projection(Matrix4::identity());
             s.eye->set_ipd(1);
         },
         "other eye; other eye; "},
        {"light", [](Stage& s) { s.lamp->set_angle(2); }, "other lamp; "},
        {"what several may share",
         [](Stage& s) {
             s.list->touch();
             s.shape->touch();
         },
         ""},
        {"brackets, picks and questions",
         [](Stage& s) {
             s.world.begin_editing();
             s.world.end_editing();
             s.world.set_name("w");
             s.eye->pick_at_x_y(0, 0, 1, 0, false);
             s.world.find_node("shape");
         },
         ""},
        {"a default camera",
         [](Stage& s) {
             s.world.remove(s.world.default_camera());
             s.world.default_camera();
         },
         "removed default_camera; put default_camera; "},
        {"wiped out, and moved then",
         [&](Stage& s) {
             for (WDB_Node* n :
                  {s.mark, static_cast<WDB_Node*>(s.eye), static_cast<WDB_Node*>(s.lamp)})
                 s.world.remove(n);
             s.world.remove(s.world.default_camera());
             s.world.put(s.far);
             s.world.wipe_out();
             s.shape->set_material(nullptr);
             s.shape->set_transform(place);
         },
         "removed mark; removed eye; removed lamp; removed default_camera; put far; "
         "removed shape; removed far; put shape; moved shape; "},
        {"moved in a walk over nodes",
         [&](Stage& s) {
             s.world.for_each_light([&](WDB_Node& n, const Bbox&) { n.set_transform(place); });
         },
         "moved lamp; "},
    };
    for (const auto& r : rows) {
        Stage stage;
        std::string text;
        Witness witness("", &text);
        stage.world.add_listener(&witness);
        const std::uint64_t before = stage.world.get_change_count();
        r.change(stage);
        EXPECT_EQ(text, r.told) << r.row;
        EXPECT_EQ(stage.world.get_change_count() != before, *r.told != '\0') << r.row;
    }
}

TEST(WDB_Listener, is_told_in_the_order_of_adding) {
    Stage stage;
    std::string text;
    Witness a("a ", &text), b("b ", &text), c("c ", &text);
    for (WDB_Listener* listener : {&a, &b, &a, &c}) stage.world.add_listener(listener);
    stage.world.add_listener(nullptr);
    stage.mark->set_name("m");
    stage.world.remove_listener(&b);
    stage.world.remove_listener(&b);
    stage.mark->set_name("n");
    for (WDB_Listener* listener : {&a, &c}) stage.world.remove_listener(listener);
    stage.mark->set_name("o");
    EXPECT_EQ(text, "a other m; b other m; c other m; a other n; c other n; ");
}

namespace {
// What a listener alone knows of a world: no look at it may tell more.
class Mirror : public WDB_Listener {
public:
    static std::string seen(const WDB_Node& n) {
        return printed(n.get_transform()) + printed(n.lod_count()) + n.get_name() +
               printed(static_cast<const void*>(n.get_material())) +
               printed(static_cast<const void*>(n.get_texture())) + printed(n.get_bbox());
    }
    void put(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    void removed(WDB_Database&, WDB_Node& n) override { nodes.erase(&n); }
    void moved(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    void geometry_changed(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    void material_changed(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    void texture_changed(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    void otherwise_changed(WDB_Database&, WDB_Node& n) override { nodes[&n] = seen(n); }
    std::map<const WDB_Node*, std::string> nodes;
};
} // namespace

// Whatever is done, the copy that it keeps is right.
TEST(WDB_Listener, misses_nothing) {
    std::mt19937 random(7);
    const auto any = [&](unsigned int n) { return random() % n; };
    WDB_Database world, other;
    Mirror mirror;
    world.add_listener(&mirror);
    WDB_Tri_List* const list = list_in(Point(0, 0, 0), Point(1, 1, 1));
    std::vector<WDB_Node*> nodes;
    for (int i = 0; i < 9; ++i) nodes.push_back(node_with(i % 2 ? list : nullptr));
    nodes.push_back(new WDB_Light("light", HFrame::identity(), 1, nullptr, nullptr));
    for (int step = 0; step < 3000; ++step) {
        WDB_Node* const n = nodes[any(10)];
        const Frame place = Frame::translation(any(9) ? static_cast<float>(any(30000)) : NAN, 0, 0);
        switch (any(12)) {
        case 0:
            world.put(n);
            break;
        case 1:
            world.remove(n);
            break;
        case 2:
            n->set_world(any(2) ? &world : &other);
            break;
        case 3:
            n->set_world(nullptr);
            break;
        case 4:
            n->set_transform(HFrame(place));
            break;
        case 5:
            n->set_geometry(any(2) ? list : nullptr);
            break;
        case 6:
            n->insert_lod(list, 0);
            break;
        case 7:
            n->set_material(any(2) ? new WDB_Material : nullptr);
            break;
        case 8:
            n->set_texture(any(2) ? new WDB_Texture(new PX_Map(1, 1, 1)) : nullptr);
            break;
        case 9:
            n->set_name(any(2) ? "x" : "y");
            break;
        case 10:
            n->wipe_out_lods();
            break;
        default:
            if (any(50) == 0) world.wipe_out();
        }
        for (const WDB_Node* const each : nodes) {
            const auto known = mirror.nodes.find(each);
            ASSERT_EQ(known != mirror.nodes.end(), world.has(each)) << step;
            if (known != mirror.nodes.end()) {
                ASSERT_EQ(known->second, Mirror::seen(*each)) << step;
            }
        }
    }
}

namespace {
class Meddler : public WDB_Listener {
public:
    explicit Meddler(std::function<void(WDB_Database&, WDB_Node&)> act) : act_(std::move(act)) {}
    void moved(WDB_Database& world, WDB_Node& node) override { act_(world, node); }

private:
    std::function<void(WDB_Database&, WDB_Node&)> act_;
};
} // namespace

TEST(WDB_Listener, must_not_change_the_world) {
    const std::function<void(WDB_Database&, WDB_Node&)> acts[] = {
        [](WDB_Database& w, WDB_Node&) { w.put(node_with(nullptr)); },
        [](WDB_Database& w, WDB_Node& n) { w.update(&n); },
        [](WDB_Database& w, WDB_Node& n) { w.remove(&n); },
        [](WDB_Database& w, WDB_Node&) { w.wipe_out(); },
        [](WDB_Database&, WDB_Node& n) { n.set_name("other"); },
        [](WDB_Database& w, WDB_Node&) { w.add_listener(new Meddler({})); },
        [](WDB_Database& w, WDB_Node&) { w.remove_listener(nullptr); },
    };
    for (const auto& act : acts) {
        Stage stage;
        Meddler meddler(act);
        stage.world.add_listener(&meddler);
        EXPECT_FATAL(stage.mark->set_transform(HFrame::identity()),
                     "A listener of world \"Anonymous world\" must not change it: ");
    }
}
