// Reading scenes: triangle lines against sscanf with the full format, many lists of triangles
// against tinyobjloader and the plain way (the pipe, fgets, sscanf), a scene of a million triangles
// in one list, and how time and memory grow with the nodes, small ones and such that fill the
// world.
#include "wdb/wdb_load.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "bench/side_by_side.h"
#include "std/Std_Common.h"
#include "std/Std_Messager.h"
#include "std/Std_Scan.h"
#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"
#include "wdb/wdb_save.h"

namespace {
class Silent : public Std_Messager {
    STD_OBJ_CLASS(Silent, Std_Messager)
    Silent() : Std_Messager(1, 1) {}
    void refresh(const char*) override {}
};

// Removes its file at the end.
struct Scratch_File {
    std::string path;

    explicit Scratch_File(const char* name)
        : path(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name)) {
        std_set_current_messager(new Silent);
    }
    ~Scratch_File() { std::filesystem::remove(path); }
};
} // namespace

static WDB_Triangle random_triangle(std::mt19937& random) {
    std::uniform_real_distribution<float> place(-1000, 1000), size(-1, 1);
    const Point p(place(random), place(random), place(random));
    const auto near = [&] { return p + Vector(size(random), size(random), size(random)); };
    return WDB_Triangle(p, near(), near(), Color(.5f, .25f, size(random)));
}

static WDB_Tri_List* random_mesh(int count) {
    std::mt19937 random(7);
    auto* list = new WDB_Tri_List(count);
    list->begin_editing();
    list->set_name("mesh");
    list->set_with_colors(true);
    for (int i = 0; i < count; ++i) list->put(random_triangle(random), i);
    list->end_editing();
    return list;
}

// As wdb_save writes them; the scene has one node with one mesh.
static void save_mesh(int count, const std::string& path) {
    WDB_Database world;
    world.put(new WDB_Node("node", HFrame::identity(), random_mesh(count), nullptr, nullptr));
    wdb_save(world, path.c_str());
}

static const int numbers_each = 36; // corners, normals, colours, texture points

static int sscanf_triangle(const char* text, float* f) {
    return std::sscanf(text,
                       " p %f %f %f %f %f %f %f %f %f n %f %f %f %f %f %f %f %f %f"
                       " c %f %f %f %f %f %f %f %f %f t %f %f %f %f %f %f %f %f %f",
                       f, f + 1, f + 2, f + 3, f + 4, f + 5, f + 6, f + 7, f + 8, f + 9, f + 10,
                       f + 11, f + 12, f + 13, f + 14, f + 15, f + 16, f + 17, f + 18, f + 19,
                       f + 20, f + 21, f + 22, f + 23, f + 24, f + 25, f + 26, f + 27, f + 28,
                       f + 29, f + 30, f + 31, f + 32, f + 33, f + 34, f + 35);
}

// The same line by std_scan_row, as the reader's first try goes.
static bool scan_triangle(const char* text, float* f) {
    const int row = numbers_each / 4;
    for (const char letter : {'p', 'n', 'c', 't'}) {
        while (*text == ' ') ++text;
        if (*text++ != letter || !std_scan_row(&text, f, row)) return false;
        f += row;
    }
    return true;
}

static std::uint64_t sum_of(const float* f) {
    std::uint32_t words[numbers_each];
    std::memcpy(words, f, sizeof words);
    std::uint64_t sum = 0;
    for (const std::uint32_t word : words) sum += word;
    return sum;
}

// One physical line behind the other, joined at backslashes; "" at the end.
static bool read_joined(std::FILE* file, char* line, int size) {
    char piece[1024];
    std::size_t length = 0;
    line[0] = '\0';
    while (std::fgets(piece, sizeof piece, file)) {
        char* end = std::strrchr(piece, '\n');
        if (end) *end = '\0';
        const char* start = piece + std::strspn(piece, " \t");
        std::snprintf(line + length, static_cast<std::size_t>(size) - length, "%s", start);
        length = std::strlen(line);
        if (length == 0 || line[length - 1] != '\\') return true;
        line[--length] = '\0';
    }
    return false;
}

// So few lines that they stay near, as the reader's one line does.
static void triangle_lines(benchmark::State& state) {
    const Scratch_File scene("lines.3d");
    const int count = 500;
    save_mesh(count, scene.path);
    std::vector<std::string> lines;
    std::FILE* const file = std::fopen(scene.path.c_str(), "r");
    static const char keyword[] = "Triangle";
    for (char line[1100]; read_joined(file, line, sizeof line);)
        if (std::strncmp(line, keyword, 8) == 0 && line[8] == ' ') {
            lines.push_back(line + 8);
            lines.back().reserve(lines.back().size() + STD_SCAN_MARGIN);
        }
    std::fclose(file);
    const auto all = [&lines](auto scan) {
        std::uint64_t sum = 0;
        float f[numbers_each] = {};
        for (const std::string& line : lines) {
            scan(line.c_str(), f);
            sum += sum_of(f);
        }
        return sum;
    };
    side_by_side(state, count, {{"sscanf", [&] { return all(sscanf_triangle); }}},
                 {"std_scan_row", [&] { return all(scan_triangle); }});
}
BENCHMARK(triangle_lines)->UseManualTime();

static std::uint64_t load_plainly(const std::string& path) {
    std::FILE* const pipe = popen(("cat '" + path + "'").c_str(), "r");
    std::vector<WDB_Triangle> triangles;
    for (char line[1100]; read_joined(pipe, line, sizeof line);) {
        WDB_Triangle triangle;
        float f[numbers_each];
        if (strncasecmp(line, "triangle ", 9) != 0) continue;
        if (sscanf_triangle(line + 8, f) != numbers_each) continue;
        std::memcpy(static_cast<void*>(&triangle), f, sizeof f);
        triangles.push_back(triangle);
    }
    pclose(pipe);
    std::uint64_t sum = 0;
    for (const WDB_Triangle& t : triangles) sum += sum_of(t.p0.to_c());
    return sum;
}

static bool add_sum(SUniv* user, const WDB_Node* node, const Bbox&) {
    const auto& list = *WDB_Tri_List::castdown(node->get_geometry());
    for (int i = 0; i < list.count(); ++i)
        *Conv<std::uint64_t*>::from_univ(user) += sum_of(list[i].p0.to_c());
    return false;
}

static std::uint64_t load_with_us(const std::string& path) {
    std::uint64_t sum = 0;
    wdb_load(path.c_str(), nullptr)->apply(Conv<std::uint64_t*>::to_univ(&sum), add_sum);
    return sum;
}

// In a process of its own, which tells its peak. The answer is in seconds.
static double load_aside(const std::string& path, double* peak_megabytes) {
    int ends[2];
    if (pipe(ends) != 0) return 0;
    const pid_t child = fork();
    if (child == 0) {
        const auto start = std::chrono::steady_clock::now();
        wdb_load(path.c_str(), nullptr)->get_bbox(); // nodes are filed when somebody looks
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        const double seconds = spent.count();
        _exit(write(ends[1], &seconds, sizeof seconds) > 0 ? 0 : 1);
    }
    double seconds = 0;
    rusage usage;
    close(ends[1]);
    if (read(ends[0], &seconds, sizeof seconds) <= 0) seconds = 0;
    close(ends[0]);
    wait4(child, nullptr, 0, &usage);
    *peak_megabytes = static_cast<double>(usage.ru_maxrss) / 1024;
    return seconds;
}

// Small ones all over a cube of 1000, or such that each fills most of it.
static void write_nodes(int count, bool fill, const std::string& path) {
    const char* const row = fill ? "  Frame m 900 0 0 \\\n 0 900 0 \\\n 0 0 900 \\\n"
                                 : "  Frame m 2.5 0 0 \\\n 0 2.5 0 \\\n 0 0 2.5 \\\n";
    const double place = fill ? 100 : 1000;
    std::FILE* const file = std::fopen(path.c_str(), "w");
    std::fputs("material m {\n}\ntrianglelist g {\n triangle p 0 0 0 1 0 0 0 1 1\n}\n", file);
    std::mt19937 random(3);
    for (int i = 0; i < count; ++i) {
        std::fprintf(file, "Node Sphere_%d {\n%s", i, row);
        for (int axis = 0; axis < 3; ++axis)
            std::fprintf(file, "%.6f ",
                         static_cast<double>(random() % 1000000) / 1e6 * place - 500);
        std::fputs("\n  Material m\n  Geometry  g\n}\n\n", file);
    }
    std::fclose(file);
}

// Stands before the large mesh: a child begins with its parent's memory.
static void nodes(benchmark::State& state, bool fill) {
    const Scratch_File scene("nodes.3d");
    const int count = static_cast<int>(state.range(0));
    write_nodes(count, fill, scene.path);
    double best = 1e9, peak = 0;
    for (auto _ : state) {
        const double seconds = load_aside(scene.path, &peak);
        state.SetIterationTime(seconds);
        best = std::min(best, seconds);
    }
    state.counters["ns/node"] = best * 1e9 / count;
    state.counters["peak MB"] = peak;
    state.counters["file MB"] =
        static_cast<double>(std::filesystem::file_size(scene.path)) / (1 << 20);
}
BENCHMARK_CAPTURE(nodes, small, false)
    ->Arg(2000)
    ->RangeMultiplier(10)
    ->Range(10000, 1000000)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(nodes, world_filling, true)
    ->Arg(2000)
    ->Arg(20000)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

static const int scattered_lists = 600, triangles_of_list = 500;

// Each list reaches all over the world.
static void put_scattered_lists(WDB_Database& world) {
    std::mt19937 random(11);
    for (int i = 0; i < scattered_lists; ++i) {
        auto* const list = new WDB_Tri_List(triangles_of_list);
        list->set_with_colors(true);
        list->begin_editing();
        for (int k = 0; k < triangles_of_list; ++k) list->put(random_triangle(random), k);
        list->end_editing();
        world.put(new WDB_Node("n", HFrame::identity(), list, nullptr, nullptr));
    }
}

static void scattered_triangles(benchmark::State& state) {
    const Scratch_File scene("scattered.3d");
    WDB_Database world;
    put_scattered_lists(world);
    wdb_save(world, scene.path.c_str());
    side_by_side(state, scattered_lists * triangles_of_list,
                 {{"fgets+sscanf", [&] { return load_plainly(scene.path); }}},
                 {"wdb_load", [&] { return load_with_us(scene.path); }});
}
BENCHMARK(scattered_triangles)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);

static void write_obj(const WDB_Tri_List& list, int& corners, std::FILE* file) {
    const auto put = [file](const char* keyword, float x, float y, float z, const char* end) {
        std::fprintf(file, "%s%f %f %f%s", keyword, static_cast<double>(x), static_cast<double>(y),
                     static_cast<double>(z), end);
    };
    for (const WDB_Triangle& t : list) {
        const Point p[] = {t.p0, t.p1, t.p2}, texture[] = {t.t0, t.t1, t.t2};
        const Vector n[] = {t.n0, t.n1, t.n2};
        const Color c[] = {t.c0, t.c1, t.c2};
        for (int i = 0; i < 3; ++i) {
            put("v ", p[i].x, p[i].y, p[i].z, " ");
            put("", c[i].r, c[i].g, c[i].b, "\n");
            put("vn ", n[i].x, n[i].y, n[i].z, "\n");
            put("vt ", texture[i].x, texture[i].y, texture[i].z, "\n");
        }
        std::fputs("f", file);
        for (int i = 0; i < 3; ++i, ++corners)
            std::fprintf(file, " %d/%d/%d", corners, corners, corners);
        std::fputs("\n", file);
    }
}

// What a program beside this one says of `file`: how long it took and its peak of memory.
struct Load_Figures {
    double seconds = 0, peak_megabytes = 0, triangles = 0;
};
static Load_Figures load_by(const char* program, const std::string& file) {
    const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path() / program;
    const char* const command = str_format("'%s' '%s' 2>/dev/null", beside.c_str(), file.c_str());
    Load_Figures figures;
    std::FILE* const pipe = popen(command, "r");
    if (std::fscanf(pipe, "%lf %lf %lf", &figures.seconds, &figures.peak_megabytes,
                    &figures.triangles) != 3)
        figures.triangles = -1;
    pclose(pipe);
    return figures;
}

// The same numbers as OBJ, each file in a fresh process: the collector has no memory yet, and the
// other one takes its own from malloc.
static void scattered_triangles_and_obj(benchmark::State& state) {
    const Scratch_File scene("scattered.3d"), obj("scattered.obj");
    WDB_Database world;
    put_scattered_lists(world);
    wdb_save(world, scene.path.c_str());
    std::FILE* const file = std::fopen(obj.path.c_str(), "w");
    int corners = 1;
    const auto write_shape = [&](const WDB_Node* node) {
        write_obj(*WDB_Tri_List::const_castdown(node->get_geometry()), corners, file);
    };
    using Write_Shape = decltype(write_shape);
    world.apply_to_shapes(Conv<const Write_Shape*>::to_univ(&write_shape),
                          [](SUniv* user, const WDB_Node* node, const Bbox&) {
                              (*Conv<const Write_Shape*>::from_univ(user))(node);
                              return false;
                          });
    std::fclose(file);
    Load_Figures ours, theirs;
    const auto run = [](const char* program, const Scratch_File& from, Load_Figures& figures) {
        figures = load_by(program, from.path);
        return static_cast<std::uint64_t>(figures.triangles);
    };
    const double unit = 1e9 / (scattered_lists * triangles_of_list);
    double best_of_ours = 1e9, best_of_theirs = 1e9;
    for (auto _ : state) {
        if (run("load_obj", obj, theirs) != run("load_scene", scene, ours))
            state.SkipWithError("tinyobjloader answers otherwise");
        best_of_ours = std::min(best_of_ours, ours.seconds);
        best_of_theirs = std::min(best_of_theirs, theirs.seconds);
        state.SetIterationTime(ours.seconds);
    }
    state.counters["wdb_load ns"] = best_of_ours * unit;
    state.counters["tinyobjloader ns"] = best_of_theirs * unit;
    state.counters["tinyobjloader/ours"] = best_of_theirs / best_of_ours;
    state.counters["peak MB"] = ours.peak_megabytes;
    state.counters["tinyobjloader's peak MB"] = theirs.peak_megabytes;
}
BENCHMARK(scattered_triangles_and_obj)
    ->Iterations(5)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

static void million_triangles(benchmark::State& state) {
    const Scratch_File scene("mesh.3d");
    const int count = 1000000;
    save_mesh(count, scene.path);
    state.counters["file MB"] =
        static_cast<double>(std::filesystem::file_size(scene.path)) / (1 << 20);
    side_by_side(state, count, {{"fgets+sscanf", [&] { return load_plainly(scene.path); }}},
                 {"wdb_load", [&] { return load_with_us(scene.path); }});
}
BENCHMARK(million_triangles)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
