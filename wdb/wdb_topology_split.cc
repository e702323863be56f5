#include "wdb/wdb_topology_split.h"

#include <algorithm>
#include <climits>
#include <compare>
#include <functional>
#include <queue>
#include <span>

#include "base/Gap_List.h"
#include "base/Hash_Table.h"
#include "std/Std_Allocator.h"
#include "std/Std_Common.h"
#include "std/Std_Report.h"
#include "std/Std_URL.h"
#include "wdb/Corner_Groups.h"
#include "wdb/Point_Table.h"
#include "wdb/Standard_Camera.h"
#include "wdb/WDB_Camera.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Light.h"
#include "wdb/WDB_Tri_List.h"

namespace {

// Grows one component after the other. Going through all triangles that are left would find the
// same ones: here, those with two corners in groups of the component stand in two heaps, `now_` for
// those that are still to come this time through, `later_` for those that were passed.
//
// That a corner of an ordinary group is among the component's is told by a mark of the group. With
// tangled corners it depends on which of several near-equal points were entered first, and on the
// order of a table's cells: such triangles are tested when they come by, against a table into which
// then all corners go, and if they fail, those corners that are missing wait for the next one of
// their tangled groups.
//
// A group is looked at with all its triangles when it enters a component. Those of hubs would be
// many, again for each of the pieces that meet there; but only those count that have another corner
// in the component, and these are found by its groups.
class Component_Grower {
public:
    explicit Component_Grower(const WDB_Tri_List& list);

    // A new component of the first triangle that is left. False if none is left.
    bool begin();
    // Once through all that are left. True if the component has grown.
    bool sweep();
    // The triangles in the order of joining.
    const Std_Plain_Vector<int>& component() const { return component_; }

private:
    using Heap = std::priority_queue<int, Std_Plain_Vector<int>, std::greater<int>>;
    // A triangle with corners in a hub and in another group, or in the hub once more.
    struct Spoke {
        int hub, other, triangle;
        auto operator<=>(const Spoke&) const = default;
    };
    static constexpr std::size_t hub_size = 64;

    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    const Point& point(int corner) const { return corner_point(list_, corner); }
    bool is_hub(int group) const { return groups_.corners_of(group).size() > hub_size; }
    bool is_tangled(int corner) const;
    void list_spokes();
    void clear();
    void add_connected_triangle(int triangle);
    void add_group(int group);
    void add_hub(int hub);
    void queue(int triangle);
    void await_change(int triangle);
    void drop_waiting(int group);
    bool is_in(int corner) const;
    bool has(int corner) const;
    template<class Has>
    static bool has_two(int triangle, Has has_corner);

    const WDB_Tri_List& list_;
    const Corner_Groups groups_;
    Point_Table points_;                       // used only if there are tangled groups
    Std_Plain_Vector<std::uint8_t> is_joined_; // each triangle, to any component
    Std_Plain_Vector<std::uint8_t> is_queued_; // each triangle, in a heap
    Std_Plain_Vector<std::uint8_t> is_in_;     // each group with a corner in the component
    Std_Plain_Vector<Std_Plain_Vector<int>>
        waiting_;                               // corners, for each group, if some are tangled
    Std_Plain_Vector<std::uint8_t> is_waiting_; // each corner, if some are tangled
    Std_Plain_Vector<Spoke> spokes_;            // in order
    Std_Plain_Vector<int> component_, groups_in_;
    Heap now_, later_;
    int first_left_ = 0;
    int at_ = INT_MAX; // the triangle that has come by last, or the end
};

Component_Grower::Component_Grower(const WDB_Tri_List& list)
    : list_(list), groups_(list), is_joined_(index(list.count())), is_queued_(index(list.count())),
      is_in_(index(groups_.count())) {
    if (groups_.has_tangled()) {
        waiting_.resize(index(groups_.count()));
        is_waiting_.resize(3 * index(list.count()));
    }
    list_spokes();
}

void Component_Grower::list_spokes() {
    for (int hub = 0; hub < groups_.count(); ++hub) {
        if (!is_hub(hub)) continue;
        for (const int corner : groups_.corners_of(hub)) {
            const int first = corner / 3 * 3;
            for (int other = first; other < first + 3; ++other) {
                if (other != corner && groups_.group_of(other) != Corner_Groups::none)
                    spokes_.push_back({hub, groups_.group_of(other), corner / 3});
            }
        }
    }
    // By hub and then by the other group, as add_hub looks for them.
    std::ranges::sort(spokes_);
}

bool Component_Grower::is_tangled(int corner) const {
    const int group = groups_.group_of(corner);
    return group != Corner_Groups::none && groups_.is_tangled(group);
}

void Component_Grower::clear() {
    component_.clear();
    points_.wipe_out();
    for (const int group : groups_in_) {
        // Only what this component has marked: to clear all would cost each piece the whole mesh.
        is_in_[index(group)] = 0;
        if (groups_.is_tangled(group)) drop_waiting(group);
    }
    groups_in_.clear();
}

bool Component_Grower::begin() {
    clear();
    // Never goes back: what has joined a component stays there.
    while (first_left_ < list_.count() && is_joined_[index(first_left_)]) ++first_left_;
    if (first_left_ == list_.count()) return false;
    add_connected_triangle(first_left_);
    return true;
}

bool Component_Grower::sweep() {
    const std::size_t before = component_.size();
    // now_ is empty. From here on later_ takes what comes up too late for this time through.
    now_.swap(later_);
    while (!now_.empty()) {
        at_ = now_.top();
        now_.pop();
        is_queued_[index(at_)] = 0;
        if (has_two(at_, [this](int corner) { return has(corner); })) {
            add_connected_triangle(at_);
        } else {
            await_change(at_);
        }
    }
    at_ = INT_MAX;
    return component_.size() != before;
}

void Component_Grower::add_connected_triangle(int triangle) {
    component_.push_back(triangle);
    is_joined_[index(triangle)] = 1;
    for (int corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
        if (groups_.has_tangled()) points_.put(point(corner));
        const int group = groups_.group_of(corner);
        if (group == Corner_Groups::none) continue;
        if (!is_in_[index(group)]) add_group(group);
        if (!groups_.is_tangled(group)) continue;
        for (const int other : waiting_[index(group)]) queue(other / 3);
        drop_waiting(group);
    }
}

void Component_Grower::add_group(int group) {
    is_in_[index(group)] = 1;
    groups_in_.push_back(group);
    const std::span<const int> corners = groups_.corners_of(group);
    // By the groups of the component as long as these are fewer than the corners of the hub.
    if (is_hub(group) && groups_in_.size() < corners.size()) {
        add_hub(group);
        return;
    }
    for (const int corner : corners) {
        if (has_two(corner / 3, [this](int c) { return is_in(c); })) queue(corner / 3);
    }
}

void Component_Grower::add_hub(int hub) {
    for (const int group : groups_in_) {
        auto spoke = std::ranges::lower_bound(spokes_, Spoke{hub, group, 0});
        for (; spoke != spokes_.end() && spoke->hub == hub && spoke->other == group; ++spoke)
            queue(spoke->triangle);
    }
}

void Component_Grower::queue(int triangle) {
    if (is_joined_[index(triangle)] || is_queued_[index(triangle)]) return;
    is_queued_[index(triangle)] = 1;
    (triangle > at_ ? now_ : later_).push(triangle);
}

// A corner that is missing now must come to be had to connect it: by another corner in its tangled
// group, or by its group, which queues the triangle itself.
void Component_Grower::await_change(int triangle) {
    for (int corner = 3 * triangle; corner < 3 * triangle + 3; ++corner) {
        if (!is_in(corner) || has(corner) || is_waiting_[index(corner)]) continue;
        is_waiting_[index(corner)] = 1;
        waiting_[index(groups_.group_of(corner))].push_back(corner);
    }
}

void Component_Grower::drop_waiting(int group) {
    for (const int corner : waiting_[index(group)]) is_waiting_[index(corner)] = 0;
    waiting_[index(group)].clear();
}

bool Component_Grower::is_in(int corner) const {
    const int group = groups_.group_of(corner);
    return group != Corner_Groups::none && is_in_[index(group)];
}

bool Component_Grower::has(int corner) const {
    return is_in(corner) && (!is_tangled(corner) || points_.has(point(corner)));
}

template<class Has>
bool Component_Grower::has_two(int triangle, Has has_corner) {
    const int p0 = 3 * triangle, p1 = p0 + 1, p2 = p0 + 2;
    return has_corner(p0) ? has_corner(p1) || has_corner(p2) : has_corner(p1) && has_corner(p2);
}

} // namespace

static WDB_Tri_List* part_of(const WDB_Tri_List& list, const Std_Plain_Vector<int>& component) {
    auto* const part = new WDB_Tri_List(static_cast<int>(component.size()));
    part->begin_editing();
    part->set_with_colors(list.get_with_colors());
    part->set_name(list.get_name());
    int slot = 0;
    for (const int triangle : component) part->put(list[triangle], slot++);
    part->end_editing();
    return part;
}

static Gap_List<WDB_Tri_List*>* splitted_parts(const WDB_Tri_List* list) {
    const char* const name = list->get_name();
    std_tell(str_format("TOPOLOGY_SPLITTER: Handling geometry %s with %d triangles", name,
                        list->count()));
    auto* const parts = new Gap_List<WDB_Tri_List*>;
    Component_Grower grower(*list);
    while (grower.begin()) {
        while (grower.sweep()) {
            std_tell(
                str_format("TOPOLOGY_SPLITTER: Connected component #%d of geometry %s has grown "
                           "to %d triangles - reiterating\n",
                           parts->count() + 1, name, static_cast<int>(grower.component().size())));
        }
        WDB_Tri_List* const part = part_of(*list, grower.component());
        parts->insert_last(part);
        std_tell(str_format("TOPOLOGY_SPLITTER: Connected component #%d of geometry %s has %d "
                            "triangles\n",
                            parts->count(), name, part->count()));
    }
    std_tell(str_format("TOPOLOGY_SPLITTER: Geometry %s splitted into %d components", name,
                        parts->count()));
    return parts;
}

// Of the same class, without anything that the node has.
static WDB_Node* blank_node(const WDB_Node* node) {
    const HFrame identity = HFrame::identity();
    if (WDB_Camera::is_instance(node)) return new_standard_camera("Anonymous_camera");
    if (WDB_Light::is_instance(node))
        return new WDB_Light("Anonymous_light", identity, 0, nullptr, nullptr);
    return new WDB_Node("Anonymous_node", identity, nullptr, nullptr, nullptr);
}

static WDB_Node* node_copy(const WDB_Node* node) {
    if (!node) return nullptr;
    WDB_Node* const copy = blank_node(node);
    // Its own: to open a URL changes it.
    Std_URL* const url = node->get_url() ? new Std_URL(node->get_url()->get_url_string()) : nullptr;
    copy->set_name(node->get_name());
    copy->set_transform(node->get_transform());
    copy->set_material(node->get_material());
    copy->set_texture(node->get_texture());
    copy->set_url(url);
    if (const WDB_Camera* const camera = WDB_Camera::const_castdown(node))
        WDB_Camera::castdown(copy)->set_projection(camera->get_projection());
    if (const WDB_Light* const light = WDB_Light::const_castdown(node))
        WDB_Light::castdown(copy)->set_angle(light->get_angle());
    return copy;
}

namespace {

// One run over a world. It is walked as it was: what is to change waits for the end.
class Topology_Splitter {
public:
    explicit Topology_Splitter(WDB_Database& world) : current_db_(world) {}

    void run();

private:
    static bool split_node(SUniv* user, const WDB_Node* node, const Bbox& box);
    void split(const WDB_Node* node);
    const Gap_List<WDB_Tri_List*>& parts_of(WDB_Tri_List* list);
    void topology_split_finalize();

    WDB_Database& current_db_;
    // Lists that several nodes show are cut once.
    Hash_Table<WDB_Tri_List*, Gap_List<WDB_Tri_List*>*> splitted_trilists_;
    Gap_List<WDB_Node*> nodes_to_remove_;
    Gap_List<WDB_Node*> nodes_to_insert_;
};

void Topology_Splitter::run() {
    current_db_.apply_to_shapes(Conv<Topology_Splitter*>::to_univ(this), split_node);
    topology_split_finalize();
}

bool Topology_Splitter::split_node(SUniv* user, const WDB_Node* node, const Bbox&) {
    Conv<Topology_Splitter*>::from_univ(user)->split(node);
    return false;
}

void Topology_Splitter::split(const WDB_Node* node) {
    // The pieces of several levels of detail could not be matched with one another.
    if (node->lod_count() != 1) return;
    WDB_Tri_List* const list = WDB_Tri_List::castdown(node->lod_item(0));
    if (!list) return;
    const Gap_List<WDB_Tri_List*>& parts = parts_of(list);
    if (parts.count() < 2) return;
    std_tell(str_format("TOPOLOGY_SPLITTER: Splitting node %s into %d parts", node->get_name(),
                        parts.count()));
    for (int i = 0; i < parts.count(); ++i) {
        WDB_Node* const copy = node_copy(node);
        copy->set_geometry(parts[i]);
        nodes_to_insert_.insert_last(copy);
    }
    nodes_to_remove_.insert_last(const_cast<WDB_Node*>(node));
}

const Gap_List<WDB_Tri_List*>& Topology_Splitter::parts_of(WDB_Tri_List* list) {
    if (!splitted_trilists_.find(list)) splitted_trilists_.put(splitted_parts(list), list);
    return **splitted_trilists_.found_item();
}

// All nodes leave before the first copy enters.
void Topology_Splitter::topology_split_finalize() {
    current_db_.begin_editing();
    std_tell("TOPOLOGY_SPLITTER: Removing old splitted nodes...");
    for (int i = 0; i < nodes_to_remove_.count(); ++i) current_db_.remove(nodes_to_remove_[i]);
    std_tell("TOPOLOGY_SPLITTER: Inserting new splitted nodes...");
    for (int i = 0; i < nodes_to_insert_.count(); ++i) current_db_.put(nodes_to_insert_[i]);
    current_db_.end_editing();
}

} // namespace

void wdb_topology_split(WDB_Database& world) {
    Topology_Splitter(world).run();
}
