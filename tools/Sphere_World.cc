#include "tools/Sphere_World.h"

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <math.h> // sinf and cosf by name
#include <stdlib.h>

#include "math/Color.h"
#include "math/Homogeneous.h"
#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_GC.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Material.h"
#include "wdb/WDB_Node.h"
#include "wdb/WDB_Tri_List.h"

// Squared tessellation of the coarsest level: no mesh has fewer than 6 bands and 6 strips.
static const int coarsest_budget = 36;

// A mesh with `n_phi` bands from pole to pole and `n_theta` strips around the axis.
static long long triangles_of(long long n_phi, long long n_theta) {
    return 2 * n_theta * (n_phi - 1);
}

namespace {
// Budgets of the levels, which fall evenly from that of the tessellation to that of the coarsest
// mesh. The sum is formed in 64 bits: check_parameters refuses what an int does not hold.
struct Level_Budgets {
    long long finest, step;

    Level_Budgets(long long levels, long long tessellation) {
        finest = tessellation * tessellation;
        if (finest < coarsest_budget * levels) finest = coarsest_budget * levels;
        // A single level uses all of it.
        step = levels > 1 ? (finest - coarsest_budget) / (levels - 1) : 0;
    }
    // Bands, and strips, of a mesh with that budget.
    static int bands(long long budget) {
        return static_cast<int>(std::ceil(static_cast<double>(sqrtf(static_cast<float>(budget)))));
    }
};
} // namespace

namespace {
// Sine and cosine of an angle, each in single precision.
struct Direction {
    float sine, cosine;
};
} // namespace

static Direction direction(float angle) {
    return {sinf(angle), cosf(angle)};
}

static Point on_sphere(const Direction& phi, const Direction& theta) {
    return Point(phi.sine * theta.cosine, phi.sine * theta.sine, phi.cosine);
}

// A triangle on the unit sphere: each normal is its corner.
static WDB_Triangle facet(const Point& a, const Point& b, const Point& c) {
    return WDB_Triangle(a, b, c, toVector(a), toVector(b), toVector(c));
}

// Stores the triangles between two meridians, from the north pole to the south pole, at `index` and
// on. Returns the index behind them.
static int put_strip(WDB_Tri_List* list, int index, int n_phi, float d_phi, const Direction& west,
                     const Direction& east) {
    const Point north(0, 0, 1), south(0, 0, -1);
    float phi = d_phi;
    Direction ring = direction(phi);
    Point upper_west = on_sphere(ring, west), upper_east = on_sphere(ring, east);
    list->put(facet(north, upper_west, upper_east), index++);
    for (int k = 1; k <= n_phi - 2; ++k) {
        phi += d_phi;
        ring = direction(phi);
        const Point lower_west = on_sphere(ring, west), lower_east = on_sphere(ring, east);
        list->put(facet(upper_west, lower_west, lower_east), index++);
        list->put(facet(upper_west, lower_east, upper_east), index++);
        upper_west = lower_west;
        upper_east = lower_east;
    }
    list->put(facet(south, upper_east, upper_west), index++);
    return index;
}

// The unit sphere around the origin, its axis along z: n_phi bands and n_theta strips. The last
// meridian is that of the accumulated angle, so the seam closes only up to rounding.
// Requires: n_phi >= 2, n_theta >= 1, and that an int holds the number of triangles.
static WDB_Tri_List* create_sphere(int n_phi, int n_theta) {
    const double pi = 3.141592653589793;
    const float d_phi = static_cast<float>(pi / static_cast<double>(static_cast<float>(n_phi)));
    const float d_theta =
        static_cast<float>(2 * (pi / static_cast<double>(static_cast<float>(n_theta))));
    const int triangles = static_cast<int>(triangles_of(n_phi, n_theta));
    printf("Allocating %d triangles\n", triangles);
    WDB_Tri_List* const list = new WDB_Tri_List(triangles);
    list->begin_editing();
    int count = 0;
    float theta = 0;
    Direction west = {0, 1};
    for (int i = 0; i < n_theta; ++i) {
        theta += d_theta;
        const Direction east = direction(theta);
        count = put_strip(list, count, n_phi, d_phi, west, east);
        west = east;
    }
    list->end_editing();
    printf("Created %dtriangles\n", count);
    return list;
}

void Sphere_World::initialize_lod(int levels, int tessellation) {
    const Level_Budgets budgets(levels, tessellation);
    long long budget = budgets.finest;
    for (int i = 0; i < levels; ++i) {
        const int bands = Level_Budgets::bands(budget);
        lods_.insert_last(create_sphere(bands, bands));
        budget -= budgets.step;
    }
}

static float draw_light_component() {
    return static_cast<float>(drand48() / 2.0 + 0.5);
}

void Sphere_World::initialize_materials(int count) {
    for (int i = 0; i < count; ++i) {
        WDB_Material* const material = new WDB_Material;
        const float red = draw_light_component();
        const float green = draw_light_component();
        const float blue = draw_light_component();
        material->set_diffuse(Color(red, green, blue));
        materials_.insert_last(material);
    }
}

// The last material is never drawn, unless it is the only one. Null if there is none.
const WDB_Material* Sphere_World::draw_material() {
    const double draw = drand48();
    if (n_materials < 1) return nullptr;
    const int index =
        static_cast<int>(draw * static_cast<double>(static_cast<float>(n_materials - 1)));
    // Beyond 2^24 the float may lie above the count.
    return materials_[index < n_materials ? index : n_materials - 1];
}

float Sphere_World::draw_coordinate() {
    return static_cast<float>(drand48() - 0.5) * cube_width;
}

WDB_Node* Sphere_World::draw_sphere(double per_edge) {
    const double u = drand48();
    const float r =
        static_cast<float>(((u * static_cast<double>(cube_width)) / 2.0 / per_edge) * 0.5 + 1.0);
    const float x = draw_coordinate();
    const float y = draw_coordinate();
    const float z = draw_coordinate();
    const WDB_Material* const material = draw_material();
    const HFrame transform = Frame::scaling(r, r, r) * Frame::translation(x, y, z);
    WDB_Node* const node =
        new WDB_Node("Sphere", transform, n_lod < 1 ? nullptr : lods_[0], material, nullptr);
    for (int j = 1; j < n_lod; ++j) node->insert_lod(lods_[j], j);
    return node;
}

// What one object costs while the world is built and saved, in bytes: itself, its name, its places
// in tree and tables. More than twice the peak that sphere_world_bench shows, so that what passes
// fits beside the other programs of the machine.
static const double bytes_per_sphere = 1400;
static const double bytes_per_material = 200;
static const double bytes_per_level_of_sphere = 2 * sizeof(void*); // a list grows by doubling

double Sphere_World::bytes_of_meshes() const {
    const Level_Budgets budgets(n_lod, n_tess);
    if (n_lod > 0 && budgets.finest > INT_MAX)
        std_assert(-1, str_format("Tessellation budget %lld is too large", budgets.finest),
                   __FILE__, __LINE__);
    double bytes = 0;
    long long budget = budgets.finest;
    for (int i = 0; i < n_lod; ++i) {
        const long long bands = Level_Budgets::bands(budget);
        const long long triangles = triangles_of(bands, bands);
        if (triangles > INT_MAX)
            std_assert(-1, str_format("A mesh of %lld triangles is too large", triangles), __FILE__,
                       __LINE__);
        bytes += static_cast<double>(triangles) * sizeof(WDB_Triangle);
        budget -= budgets.step;
    }
    return bytes;
}

double Sphere_World::bytes_of_spheres() const {
    if (n_spheres < 1) return 0;
    double bytes = bytes_per_sphere;
    if (n_lod > 0) bytes += n_lod * bytes_per_level_of_sphere;
    return n_spheres * bytes;
}

// The number in a file of the system; HUGE_VAL if there is none, or no limit.
static double number_in(const char* path, const char* format) {
    FILE* const file = fopen(path, "r");
    if (!file) return HUGE_VAL;
    char line[256];
    double number = HUGE_VAL;
    while (fgets(line, sizeof line, file))
        if (sscanf(line, format, &number) == 1) break;
    fclose(file);
    return number;
}

// Memory that the system could give without swapping: that of the machine, or of the container that
// the process runs in. Files that the system keeps in memory count as free in both.
static double available_bytes() {
    const double machine = number_in("/proc/meminfo", "MemAvailable: %lf kB") * 1024;
    const double limit = number_in("/sys/fs/cgroup/memory.max", "%lf");
    const double used = number_in("/sys/fs/cgroup/memory.current", "%lf");
    double container = limit < HUGE_VAL && used < HUGE_VAL ? limit - used : HUGE_VAL;
    for (const char* const cached : {"inactive_file %lf", "active_file %lf"}) {
        const double bytes = number_in("/sys/fs/cgroup/memory.stat", cached);
        if (bytes < HUGE_VAL) container += bytes;
    }
    return machine < container ? machine : container;
}

// Ends the process if the world cannot be built. Refusing it at once is kinder than filling the
// machine first.
void Sphere_World::check_parameters() const {
    const double meshes = bytes_of_meshes();
    const double pool = n_materials < 1 ? 0 : n_materials * bytes_per_material;
    const double spheres = bytes_of_spheres();
    const double available = available_bytes();
    if (meshes + pool + spheres <= available) return;
    const double mega = 1e6;
    std_assert(-1,
               str_format("The world is too large: about %.0f MB of meshes, %.0f MB of materials "
                          "and %.0f MB of spheres, with %.0f MB of memory available",
                          meshes / mega, pool / mega, spheres / mega, available / mega),
               __FILE__, __LINE__);
}

// What one object holds in the end, in bytes, at the most. Address space for less is no harm: the
// heap then grows by steps.
static const double kept_per_sphere = 560;

void Sphere_World::make_room() const {
    if (n_spheres < 1) return;
    std_expect(static_cast<std::size_t>(n_spheres * kept_per_sphere + bytes_of_meshes()));
}

double Sphere_World::spheres_per_edge() const {
    return n_spheres < 1 ? 1 : pow(static_cast<double>(n_spheres), 0.3333333333333333);
}

void Sphere_World::place_spheres(WDB_Database& world) {
    const double per_edge = spheres_per_edge();
    world.begin_editing();
    for (int i = 0; i < n_spheres; ++i) world.put(draw_sphere(per_edge));
    world.end_editing();
}
