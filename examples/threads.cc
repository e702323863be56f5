// A host with threads of its own: they work with containers of strings, in collected memory like
// all of the program's, while the main thread builds a world. Objects of the library stay with one
// thread at a time; here the names change hands when a thread has ended.
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "wdb/WDB_Database.h"
#include "wdb/WDB_Tri_List.h"

// How often each of many words comes; much of what it allocates is garbage soon.
static void count_words(int seed, std::map<std::string, int>& words) {
    for (int round = 0; round < 20; ++round) {
        std::vector<std::string> text;
        for (int i = 0; i < 2000; ++i)
            text.push_back("a word that does not fit in place, number " +
                           std::to_string((seed + i) % 500));
        for (const std::string& word : text) ++words[word];
    }
}

static void build(WDB_Database& world, int count) {
    auto* mesh = new WDB_Tri_List(1);
    mesh->put(WDB_Triangle(Point(0, 0, 0), Point(1, 0, 0), Point(0, 1, 0)), 0);
    mesh->end_editing();
    for (int i = 0; i < count; ++i) {
        const Frame place =
            Frame::translation(static_cast<float>(i % 100), static_cast<float>(i / 100), 0);
        world.put(new WDB_Node(("node " + std::to_string(i)).c_str(), HFrame(place), mesh, nullptr,
                               nullptr));
    }
}

int main() {
    const int workers = 4;
    std::vector<std::map<std::string, int>> words(workers);
    std::vector<std::thread> threads;
    for (int i = 0; i < workers; ++i) threads.emplace_back(count_words, i, std::ref(words[i]));

    WDB_Database world;
    build(world, 10000);
    for (std::thread& thread : threads) thread.join();

    int distinct = 0, all = 0;
    for (const auto& counted : words) {
        distinct += static_cast<int>(counted.size());
        for (const auto& [word, count] : counted) all += count;
    }
    std::printf("%d distinct words, %d in all; %d shapes, node 9999 is %s\n", distinct, all,
                world.shape_count(), world.find_node("node 9999") ? "there" : "lost");
}
