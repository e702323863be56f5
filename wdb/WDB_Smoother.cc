#include "wdb/WDB_Smoother.h"

#include <bit>
#include <climits>
#include <numeric>

#include "std/Std_Allocator.h"
#include "std/Std_Assert.h"
#include "wdb/Point_Key.h"

// The cosine of 60 degrees, that is, of the single-precision pi/3.
static constexpr float min_dot = 0.49999997f;
static_assert(std::bit_cast<unsigned int>(min_dot) == 0x3EFFFFFF);

void WDB_Smoother::add_triangle(const Point* point, const WDB_Triangle* triangle) {
    const int number = positions_.find_or_put(*point);
    // Numbers come in order, so that a new one is the next of the list.
    if (number == meeting_.count()) meeting_.insert_last(new Triangles);
    meeting_[number]->insert_last(triangle);
}

static Vector face_normal(const WDB_Triangle& t) {
    return oknormalize(cross(t.p0, t.p1, t.p2));
}

static bool is_flat_shaded(const WDB_Triangle& t, const Vector& face) {
    // Normals from a file have few decimals and are never quite those of the face.
    const float largest_difference = 0.001f;
    return t.n0.is_epsilon_equal(face, largest_difference) &&
           t.n1.is_epsilon_equal(face, largest_difference) &&
           t.n2.is_epsilon_equal(face, largest_difference);
}

namespace {

// The normal of a triangle at a corner, while the triangles that meet there come by.
class Averaged_Normal {
public:
    Averaged_Normal(const WDB_Triangle* triangle, const Vector& face)
        : triangle_(triangle), face_(face), sum_(face) {}

    void add(const WDB_Triangle* other, const Vector& other_face) {
        // Against the own face and not the sum, which would creep around any bend.
        if (other != triangle_ && min_dot < dot(face_, other_face)) {
            sum_ += other_face;
            sum_.normalize();
            is_settled_ = false;
        } else if (!is_settled_) {
            // Brought to length 1 at each turn, with or without a new normal, until that moves no
            // bit.
            const Vector before = sum_;
            sum_.normalize();
            is_settled_ = sum_ == before;
        }
    }
    void add_all(const Gap_List<const WDB_Triangle*>& meeting) {
        for (int i = 0; i < meeting.count(); ++i) add(meeting[i], face_normal(*meeting[i]));
    }
    const Vector& sum() const { return sum_; }

private:
    const WDB_Triangle* triangle_;
    Vector face_, sum_;
    bool is_settled_ = false; // to bring it to length 1 once more would change nothing
};

} // namespace

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
    const int number = positions_.find(vertex);
    if (number == Point_Table::none) return face;
    Averaged_Normal normal(triangle, face);
    normal.add_all(*meeting_[number]);
    return normal.sum();
}

WDB_Triangle WDB_Smoother::smooth_triangle(const WDB_Triangle* triangle) {
    WDB_Triangle smooth = *triangle;
    smooth.n0 = smooth_normal(triangle->p0, triangle);
    smooth.n1 = smooth_normal(triangle->p1, triangle);
    smooth.n2 = smooth_normal(triangle->p2, triangle);
    return smooth;
}

namespace {

// smooth_triangle for all triangles of a list, with each face normal computed once and without a
// list of its own for each position.
class List_Smoother {
public:
    using Triangles = Gap_List<const WDB_Triangle*>;

    // Enters all corners. `noted` are triangles that came before them, by the number of the
    // position.
    List_Smoother(const WDB_Tri_List& list, Point_Table& positions,
                  const Gap_List<Triangles*>& noted);

    WDB_Triangle smooth_triangle(int triangle);

private:
    static std::size_t index(int i) { return static_cast<std::size_t>(i); }
    void list_meeting();
    Vector averaged_normal(const Point& vertex, int corner);

    const WDB_Tri_List& list_;
    Point_Table& positions_;
    const Gap_List<Triangles*>& noted_;
    Std_Plain_Vector<Vector> faces_;           // of each triangle
    Std_Plain_Vector<int> numbers_;            // of each corner, as it was entered
    Std_Plain_Vector<int> starts_, triangles_; // those of each number, in the order of the list
};

List_Smoother::List_Smoother(const WDB_Tri_List& list, Point_Table& positions,
                             const Gap_List<Triangles*>& noted)
    : list_(list), positions_(positions), noted_(noted) {
    if (list.count() >= INT_MAX / 3)
        std_assert(-1, "Too many triangles in one list", __FILE__, __LINE__);
    faces_.reserve(index(list.count()));
    numbers_.reserve(3 * index(list.count()));
    for (int i = 0; i < list.count(); ++i) {
        const WDB_Triangle& t = list[i];
        faces_.push_back(face_normal(t));
        for (const Point* p : {&t.p0, &t.p1, &t.p2}) numbers_.push_back(positions.find_or_put(*p));
    }
    list_meeting();
}

// Counts, then fills the triangles of each number from their end.
void List_Smoother::list_meeting() {
    starts_.assign(index(positions_.numbers()) + 1, 0);
    for (const int number : numbers_) ++starts_[index(number)];
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    triangles_.resize(numbers_.size());
    for (int corner = 3 * list_.count() - 1; corner >= 0; --corner)
        triangles_[index(--starts_[index(numbers_[index(corner)])])] = corner / 3;
}

WDB_Triangle List_Smoother::smooth_triangle(int triangle) {
    const WDB_Triangle& source = list_[triangle];
    const Vector& face = faces_[index(triangle)];
    const bool is_flat = is_flat_shaded(source, face);
    const auto normal = [&](const Point& vertex, int k) {
        return is_flat ? averaged_normal(vertex, 3 * triangle + k)
                       : kept_normal(face, vertex, &source);
    };
    WDB_Triangle smooth = source;
    smooth.n0 = normal(source.p0, 0);
    smooth.n1 = normal(source.p1, 1);
    smooth.n2 = normal(source.p2, 2);
    return smooth;
}

Vector List_Smoother::averaged_normal(const Point& vertex, int corner) {
    const Vector& face = faces_[index(corner / 3)];
    const int number = positions_.find(vertex, numbers_[index(corner)]);
    if (number == Point_Table::none) return face;
    Averaged_Normal normal(&list_[corner / 3], face);
    // They came first, and later ones weigh more.
    if (number < noted_.count()) normal.add_all(*noted_[number]);
    for (int i = starts_[index(number)]; i < starts_[index(number) + 1]; ++i) {
        const int other = triangles_[index(i)];
        normal.add(&list_[other], faces_[index(other)]);
    }
    return normal.sum();
}

} // namespace

WDB_Tri_List* WDB_Smoother::smooth_version(const WDB_Tri_List* source) {
    if (!source) return nullptr;
    List_Smoother smoother(*source, positions_, meeting_);
    auto* const result = new WDB_Tri_List(source->count());
    result->begin_editing();
    result->set_with_colors(source->get_with_colors());
    for (int i = 0; i < source->count(); ++i) result->put(smoother.smooth_triangle(i), i);
    result->end_editing();
    // What was noted may be gone at the next call.
    positions_.wipe_out();
    meeting_.wipe_out();
    return result;
}
