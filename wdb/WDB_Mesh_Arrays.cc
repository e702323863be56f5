#include "wdb/WDB_Mesh_Arrays.h"

#include <bit>
#include <cstring>
#include <utility>

#include "std/Std_Allocator.h"
#include "std/Std_Assert.h"
#include "wdb/Corner_Vertices.h"
#include "wdb/Secret_Hash.h"

// Which vertex a corner has: open addressing in a table that is at most half full. The hash stands
// beside the number, since a look at another vertex is a look at a far place of memory. The table
// begins with room for a closed mesh, in which six corners share a vertex, and grows for others:
// most of one that had room for all corners would never be used, and would keep the caches cold.
class WDB_Mesh_Arrays::Corner_Index {
public:
    explicit Corner_Index(std::size_t corners)
        : slots_(std::bit_ceil(corners / 3 + 8), free_slot) {}

    std::uint32_t find_or_push(const WDB_Vertex& vertex, Plain_Array<WDB_Vertex>& vertices) {
        const std::uint32_t hash = hash_of(vertex);
        std::size_t at = hash & mask();
        for (; slots_[at].number != none; at = (at + 1) & mask())
            if (slots_[at].hash == hash &&
                std::memcmp(&vertices[slots_[at].number], &vertex, sizeof vertex) == 0)
                return slots_[at].number;
        const auto number = static_cast<std::uint32_t>(vertices.count());
        slots_[at] = {hash, number};
        vertices.push(vertex);
        if (2 * vertices.count() > slots_.size()) grow();
        return number;
    }

private:
    static constexpr std::uint32_t none = UINT32_MAX;
    struct Slot {
        std::uint32_t hash, number;
    };
    static constexpr Slot free_slot = {0, none};

    std::size_t mask() const { return slots_.size() - 1; }

    void grow() {
        const Std_Plain_Vector<Slot> old = std::move(slots_);
        slots_.assign(2 * old.size(), free_slot);
        for (const Slot& slot : old) {
            if (slot.number == none) continue;
            std::size_t at = slot.hash & mask();
            while (slots_[at].number != none) at = (at + 1) & mask();
            slots_[at] = slot;
        }
    }

    // Secret, as positions come from files that anybody may have written.
    std::uint32_t hash_of(const WDB_Vertex& vertex) const {
        std::uint64_t words[6];
        static_assert(sizeof words == sizeof vertex);
        std::memcpy(words, &vertex, sizeof words);
        const auto folded = [this](std::uint64_t a, std::uint64_t b) {
            return Hash_Secret::folded_product(a ^ secret_.words[0], b ^ secret_.words[1]);
        };
        return static_cast<std::uint32_t>(folded(
            folded(words[0], words[1]) ^ folded(words[2], words[3]), folded(words[4], words[5])));
    }

    const Hash_Secret secret_ = Hash_Secret::get();
    Std_Plain_Vector<Slot> slots_;
};

WDB_Mesh_Arrays::WDB_Mesh_Arrays(unsigned contents) : contents_(contents) {}

// What is left out must not part corners.
void WDB_Mesh_Arrays::keep_contents(WDB_Vertex& vertex) const {
    if (!(contents_ & WDB_WITH_NORMALS)) vertex.normal = Vector(0, 0, 0);
    if (!(contents_ & WDB_WITH_COLORS)) vertex.color = Color(0, 0, 0);
    if (!(contents_ & WDB_WITH_TEXTURES)) vertex.texture_point = Point(0, 0, 0);
}

template<class List>
void WDB_Mesh_Arrays::pack(const List& list) {
    const std::size_t corners = list.vertex_count();
    if (corners >= UINT32_MAX)
        std_assert(-1, "More corners in one list than 32 bits can count", __FILE__, __LINE__);
    corners_of_item_ = List::corners_of_item;
    wide_.reserve(corners);
    // Pages that are not written to do not come into memory; growing would copy what is.
    vertices_.reserve(corners);
    Corner_Index index(corners);
    for_each_corner(list, [&](WDB_Vertex vertex, std::size_t) {
        keep_contents(vertex);
        wide_.push(index.find_or_push(vertex, vertices_));
    });
}

void WDB_Mesh_Arrays::narrow_indices() {
    // Of 0 to 0xFFFE.
    const std::size_t most_vertices = 0xFFFF;
    if (vertex_count() > most_vertices) return;
    narrow_.reserve(wide_.count());
    for (std::size_t i = 0; i < wide_.count(); ++i)
        narrow_.push(static_cast<std::uint16_t>(wide_[i]));
    wide_.wipe_out(0);
}

bool WDB_Mesh_Arrays::update(const WDB_Geometry& geometry) {
    if (is_packed_ && packed_id_ == geometry.get_instance_id() &&
        packed_stamp_ == geometry.get_stamp())
        return false;
    vertices_.wipe_out();
    wide_.wipe_out();
    narrow_.wipe_out();
    corners_of_item_ = 0;
    if (const auto* triangles = WDB_Tri_List::const_castdown(&geometry)) pack(*triangles);
    if (const auto* lines = WDB_Line_List::const_castdown(&geometry)) pack(*lines);
    narrow_indices();
    is_packed_ = true;
    packed_id_ = geometry.get_instance_id();
    packed_stamp_ = geometry.get_stamp();
    return true;
}

const void* WDB_Mesh_Arrays::indices() const {
    if (wide_.count() > 0) return wide_.cells();
    return narrow_.cells();
}

bool WDB_Mesh_Arrays::copy_vertices(const WDB_Vertex_Layout& layout, void* out,
                                    std::size_t size) const {
    if (!has_room(layout, vertex_count(), size)) return false;
    for (std::size_t i = 0; i < vertex_count(); ++i) layout.write(vertices_[i], i, out);
    return true;
}
