#include "wdb/WDB_Smoother.h"

#include <bit>
#include <cmath>
#include <span>

#include "std/Std_Assert.h"
#include "wdb/Corner_Groups.h"
#include "wdb/Point_Key.h"

// The cosine of 60 degrees, that is, of the single-precision pi/3.
static constexpr float min_dot = 0.49999997f;
static_assert(std::bit_cast<unsigned int>(min_dot) == 0x3EFFFFFF);

WDB_Smoother::WDB_Smoother() : vertex_table_(pnt_hash, pnt_equal, nullptr) {}

void WDB_Smoother::add_triangle(const Point* point, const WDB_Triangle* triangle) {
    if (!vertex_table_.find(point)) vertex_table_.put(new Triangles, point);
    (*vertex_table_.found_item())->insert_last(triangle);
}

static Vector face_normal(const WDB_Triangle& t) {
    return oknormalize(cross(t.p0, t.p1, t.p2));
}

static bool is_flat_shaded(const WDB_Triangle& t, const Vector& face) {
    const float largest_difference = 0.001f;
    return t.n0.is_epsilon_equal(face, largest_difference) &&
           t.n1.is_epsilon_equal(face, largest_difference) &&
           t.n2.is_epsilon_equal(face, largest_difference);
}

// `meeting` are the triangles that meet at one position, in the order of the source.
template<class Triangles>
static Vector averaged_normal(const Vector& face, const WDB_Triangle* triangle,
                              const Triangles& meeting) {
    Vector sum = face;
    for (int i = 0; i < meeting.count(); ++i) {
        if (meeting[i] != triangle) {
            const Vector neighbour = face_normal(*meeting[i]);
            if (min_dot < dot(face, neighbour)) sum += neighbour;
        }
        sum.normalize();
    }
    return sum;
}

// Of a triangle that is not flat-shaded.
static Vector kept_normal(const Vector& face, const Point& vertex, const WDB_Triangle* triangle) {
    if (pnt_equal(&vertex, &triangle->p0)) return triangle->n0;
    if (pnt_equal(&vertex, &triangle->p1)) return triangle->n1;
    if (pnt_equal(&vertex, &triangle->p2)) return triangle->n2;
    std_assert(2, "Bad Vertex to smooth", __FILE__, __LINE__);
    return face;
}

Vector WDB_Smoother::smooth_normal(const Point& vertex, const WDB_Triangle* triangle) {
    const Vector face = face_normal(*triangle);
    if (!is_flat_shaded(*triangle, face)) return kept_normal(face, vertex, triangle);
    if (!vertex_table_.find(&vertex)) return face;
    return averaged_normal(face, triangle, **vertex_table_.found_item());
}

WDB_Triangle WDB_Smoother::smooth_triangle(const WDB_Triangle* triangle) {
    WDB_Triangle smooth = *triangle;
    smooth.n0 = smooth_normal(triangle->p0, triangle);
    smooth.n1 = smooth_normal(triangle->p1, triangle);
    smooth.n2 = smooth_normal(triangle->p2, triangle);
    return smooth;
}

namespace {
// The triangles that the table would hold for a corner, without a search.
class Meeting {
public:
    Meeting(const WDB_Tri_List& list, const Corner_Groups& groups, int corner) : list_(list) {
        const int group = groups.group_of(corner);
        if (group != Corner_Groups::none) corners_ = groups.corners_of(group);
    }
    int count() const { return static_cast<int>(corners_.size()); }
    const WDB_Triangle* operator[](int i) const {
        return &list_[corners_[static_cast<std::size_t>(i)] / 3];
    }

private:
    const WDB_Tri_List& list_;
    std::span<const int> corners_;
};
} // namespace

// smooth_triangle without the table. Requires: no tangled groups, in which the first corner decides
// what equals it.
static WDB_Triangle smooth_triangle_of(const WDB_Tri_List& list, const Corner_Groups& groups,
                                       int index) {
    const WDB_Triangle& triangle = list[index];
    const Vector face = face_normal(triangle);
    const bool is_flat = is_flat_shaded(triangle, face);
    const auto normal = [&](const Point& vertex, int k) {
        return is_flat ? averaged_normal(face, &triangle, Meeting(list, groups, 3 * index + k))
                       : kept_normal(face, vertex, &triangle);
    };
    WDB_Triangle smooth = triangle;
    smooth.n0 = normal(triangle.p0, 0);
    smooth.n1 = normal(triangle.p1, 1);
    smooth.n2 = normal(triangle.p2, 2);
    return smooth;
}

WDB_Tri_List* WDB_Smoother::smooth_version(const WDB_Tri_List* source) {
    if (!source) return nullptr;
    const Corner_Groups groups(*source);
    // Triangles that a caller has noted before take part.
    const bool needs_table = groups.has_tangled() || vertex_table_.count() != 0;
    for (int i = 0; needs_table && i < source->count(); ++i) {
        const WDB_Triangle& triangle = (*source)[i];
        add_triangle(&triangle.p0, &triangle);
        add_triangle(&triangle.p1, &triangle);
        add_triangle(&triangle.p2, &triangle);
    }
    auto* const result = new WDB_Tri_List(source->count());
    result->begin_editing();
    result->set_with_colors(source->get_with_colors());
    for (int i = 0; i < source->count(); ++i) {
        result->put(needs_table ? smooth_triangle(&(*source)[i])
                                : smooth_triangle_of(*source, groups, i),
                    i);
    }
    result->end_editing();
    vertex_table_.wipe_out();
    return result;
}
