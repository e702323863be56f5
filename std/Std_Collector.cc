#include "std/Std_Collector.h"

#include <csignal>
#include <link.h>
#include <pthread.h>
#include <unistd.h>

#include <gc.h>

#include "std/Std_Assert.h"
#include "std/Std_GC.h"
#include "std/Std_New.h"

constinit thread_local bool Std_Collector::is_known_ = false;

static thread_local bool is_ending = false;

static void say_nothing(char*, GC_word) {}

// Its destructor is how the end of a thread is told; it comes after those of thread_locals.
static pthread_key_t end_of_thread;

namespace {
struct Range {
    char *begin, *end;
};
} // namespace

static int find_thread_locals_of_program(dl_phdr_info* program, std::size_t, void* range) {
    for (int i = 0; i < program->dlpi_phnum; ++i) {
        if (program->dlpi_phdr[i].p_type != PT_TLS || !program->dlpi_tls_data) continue;
        char* const begin = static_cast<char*>(program->dlpi_tls_data);
        *static_cast<Range*>(range) = {begin, begin + program->dlpi_phdr[i].p_memsz};
    }
    return 1; // the program comes first; what follows may be unloaded
}

// The memory behind the thread_locals of the program itself, for its first thread. Those of other
// threads lie on their stacks, and go with these.
static void add_thread_locals_of_program() {
    Range range = {nullptr, nullptr};
    // Found first and added later: a collection takes the locks of the two the other way round.
    dl_iterate_phdr(find_thread_locals_of_program, &range);
    const std::size_t word = sizeof(void*);
    if (static_cast<std::size_t>(range.end - range.begin) >= word)
        GC_add_roots(range.begin, range.end);
}

// Once in the life of the process, for the first allocation of a static object or of a thread. True
// if this made the thread known.
static bool start() {
    const bool is_first = !GC_is_init_called();
    // With one marker the collector starts no threads of its own.
    GC_set_markers_count(&std_markers ? std_markers : 1);
    // A child of fork has no use for the threads of its parent.
    GC_set_handle_fork(1);
    GC_INIT();
    GC_allow_register_threads();
    GC_set_warn_proc(say_nothing);
    // Worlds mostly grow: collect half as often as the collector would by itself.
    GC_set_free_space_divisor(1);
    GC_set_oom_fn(std_out_of_memory);
    // Without a key of its own it would take another's, and threads would stay known when their
    // stacks are gone.
    if (pthread_key_create(&end_of_thread, [](void*) { Std_Collector::forget(); }) != 0)
        std_assert(-1, "No key is left to tell the end of threads", __FILE__, __LINE__);
    return is_first;
}

// The collector stops threads by these. Libraries block all signals in their threads.
static void unblock_signals_of_collector() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, GC_get_suspend_signal());
    sigaddset(&signals, GC_get_thr_restart_signal());
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

void Std_Collector::make_known() {
    // A thread that somebody else made known is not ours to forget.
    bool is_ours = false;
    static const bool is_started = (is_ours = start(), true);
    (void)is_started;
    GC_stack_base stack;
    GC_get_stack_base(&stack);
    if (GC_register_my_thread(&stack) == GC_SUCCESS) is_ours = true;
    is_known_ = true;
    // The thread that starts the collector need not be the first: it may have opened a plugin.
    if (gettid() == getpid()) add_thread_locals_of_program();
    if (is_ours) {
        unblock_signals_of_collector();
        if (!is_ending) pthread_setspecific(end_of_thread, &end_of_thread);
    }
    static const bool is_probed = (std_probe_plain_new(), true);
    (void)is_probed;
}

void Std_Collector::forget() {
    is_known_ = false;
    is_ending = true;
    GC_unregister_my_thread();
}

std::uint64_t Std_Collector::collection_count() {
    meet();
    // Under the lock, which a collection holds from its first step to its last.
    std::uint64_t count;
    const auto read = [](void* to) {
        *static_cast<std::uint64_t*>(to) = GC_get_gc_no();
        return to;
    };
    GC_call_with_alloc_lock(read, &count);
    return count;
}

Std_Collector::Guest::Guest() {
    meet();
}

Std_Collector::Guest::~Guest() {
    if (is_ending) forget();
}
