#include "std/Std_GC_Cleanup.h"

#include "std/Std_Tmp_Alloc.h"
#include "tests/Collected.h"

using Pool = STD_TMP_ALLOC_POOL_T;

namespace {
struct Far {
    virtual ~Far() {}
    long room[3] = {};
};
struct Nothing {};
template<class First>
class Cleaned : public First, public Std_GC_Cleanup {
public:
    Cleaned(int enable, int* gone) : Std_GC_Cleanup(enable), gone_(gone) {}
    ~Cleaned() override { ++*gone_; }

private:
    int* gone_;
};
} // namespace

template<class T>
[[gnu::noinline]] static void make(int enable, bool is_deleted, Pool* placement, int* gone) {
    for (int i = 0; i < 1000; ++i) {
        T* const object = new (placement) T(enable, gone);
        if (is_deleted) delete object;
    }
}

TEST(Std_GC_Cleanup, destructors_run_once_at_most) {
    Pool* const pool = std_tmp_alloc_new_pool(1000);
    const struct {
        const char* row;
        int enable;
        bool is_deleted;
        Pool* placement;
        int least, most;
    } rows[] = {
        {"dropped", 1, false, GC, 900, 1000},    {"dropped, not enabled", 0, false, GC, 0, 0},
        {"deleted", 1, true, GC, 1000, 1000},    {"deleted, not enabled", 0, true, GC, 1000, 1000},
        {"not collected", 1, false, NoGC, 0, 0}, {"in a pool", 1, false, pool, 0, 0},
    };
    static int gone[2][std::size(rows)];
    for (std::size_t kind = 0; kind < 2; ++kind) {
        for (std::size_t i = 0; i < std::size(rows); ++i) {
            const auto& r = rows[i];
            const auto make_them = kind == 0 ? make<Cleaned<Nothing>> : make<Cleaned<Far>>;
            make_them(r.enable, r.is_deleted, r.placement, &gone[kind][i]);
            collect();
            EXPECT_GE(gone[kind][i], r.least) << r.row;
        }
    }
    std_tmp_free_pool(pool);
    // Blocks that are used again must have lost their finalisers.
    for (int i = 0; i < 100000; ++i) std::memset(new (GC) char[sizeof(Cleaned<Far>)], 7, 40);
    collect();
    for (const auto& counts : gone) {
        for (std::size_t i = 0; i < std::size(rows); ++i) EXPECT_LE(counts[i], rows[i].most);
    }
    int on_the_stack = 0;
    { Cleaned<Far> object(1, &on_the_stack); }
    EXPECT_EQ(on_the_stack, 1);
}

// Inside of a request that may answer null.
TEST(Std_GC_Cleanup, lack_of_memory_is_fatal) {
    static const auto ask_for_too_much = [](void*, void*) {
        static volatile std::size_t too_much = PTRDIFF_MAX / 2;
        std::memset(new (GCAtomic) char[too_much], 1, 1);
    };
    EXPECT_FATAL(
        {
            for (int i = 0; i < 100; ++i) new (GC, ask_for_too_much, nullptr) char[100];
            for (int i = 0; i < 1000; ++i) std_try_uncollectable(100000);
        },
        "Out of memory: ");
}
