#include "std/Std_Collector.h"

#include <csignal>
#include <link.h>
#include <mutex>
#include <pthread.h>

#define GC_THREADS
#define GC_NO_THREAD_REDIRECTS // threads of libraries come through no header of the collector's
#include <gc.h>

constinit thread_local bool Std_Collector::is_known_ = false;

static thread_local bool is_ending = false;

static void say_nothing(char*, GC_word) {}

// Its destructor is how the end of a thread is told; it comes after those of thread_locals.
static pthread_key_t end_of_thread;

// The memory behind the thread_locals of the program itself. Those of other threads lie on their
// stacks.
static int add_thread_locals_of_program(dl_phdr_info* program, std::size_t, void*) {
    const std::size_t word = sizeof(void*);
    for (int i = 0; i < program->dlpi_phnum; ++i) {
        if (program->dlpi_phdr[i].p_type != PT_TLS || !program->dlpi_tls_data) continue;
        char* const begin = static_cast<char*>(program->dlpi_tls_data);
        if (program->dlpi_phdr[i].p_memsz >= word)
            GC_add_roots(begin, begin + program->dlpi_phdr[i].p_memsz);
    }
    return 1; // the program comes first; what follows may be unloaded
}

// Once in the life of the process, for the first allocation of a static object or of a thread.
static void start() {
    // One marker: the collector then starts no threads of its own.
    GC_set_markers_count(1);
    // A child of fork has no use for the threads of its parent.
    GC_set_handle_fork(1);
    GC_INIT();
    GC_allow_register_threads();
    GC_set_warn_proc(say_nothing);
    // Worlds mostly grow: collect half as often as the collector would by itself.
    GC_set_free_space_divisor(1);
    GC_set_oom_fn(std_out_of_memory);
    dl_iterate_phdr(add_thread_locals_of_program, nullptr);
    pthread_key_create(&end_of_thread, [](void*) { Std_Collector::forget(); });
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
    static const bool is_started = (start(), true);
    (void)is_started;
    GC_stack_base stack;
    GC_get_stack_base(&stack);
    // A thread that somebody else made known, such as the first one, is not ours to forget.
    const bool is_ours = GC_register_my_thread(&stack) == GC_SUCCESS;
    is_known_ = true;
    if (!is_ours) return;
    unblock_signals_of_collector();
    if (!is_ending) pthread_setspecific(end_of_thread, &end_of_thread);
}

void Std_Collector::forget() {
    is_known_ = false;
    is_ending = true;
    GC_unregister_my_thread();
}

Std_Collector::Guest::Guest() {
    meet();
}

Std_Collector::Guest::~Guest() {
    if (is_ending) forget();
}
