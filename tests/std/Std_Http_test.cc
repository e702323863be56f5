#include "std/Std_Http.h"

#include <arpa/inet.h>
#include <ctime>
#include <deque>
#include <netdb.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "std/Std_Limits.h"
#include "std/Std_URL.h"
#include "tests/Blocks.h"
#include "tests/Scratch_Folder.h"

namespace {
// A host within the test, with a clock of its own: both take the place of the system's while there
// is a script. Time goes on only where somebody waits.
struct Script {
    struct Step {
        double seconds;
        std::string bytes; // none is the end
        int error = 0;
    };
    std::deque<Step> steps = {{0, "text"}, {0, ""}}; // then there is silence
    std::deque<int> connects = {};                   // the error of each; then there is none
    double writable = 0;                             // after so many seconds
    int late_error = 0;                              // of a connection that was in progress
    int send_error = 0;
    double seconds = 0, ended = -1; // since the start, and when our side was closed
    std::string peer = {}, sent = {};
};
Script* script = nullptr;
} // namespace

extern "C" {
int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (!script) return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
    time->tv_sec = static_cast<std::time_t>(script->seconds);
    time->tv_nsec = std::lround((script->seconds - std::floor(script->seconds)) * 1e9);
    return 0;
}
int poll(pollfd* channel, nfds_t count, int milliseconds) {
    const timespec real = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
    if (!script) return ppoll(channel, count, milliseconds < 0 ? nullptr : &real, nullptr);
    double never = 1e9;
    auto& steps = script->steps;
    double& left = !script->sent.ends_with('\n') ? script->writable
                   : steps.empty()               ? never
                                                 : steps[0].seconds;
    const double passed = std::min(left, milliseconds / 1000.0);
    script->seconds += passed;
    return (left -= passed) > 0 ? 0 : 1;
}
int getaddrinfo(const char* name, const char*, const addrinfo*, addrinfo** found) {
    static sockaddr_in host = {};
    static addrinfo first = {};
    host.sin_addr.s_addr = htonl(0x0a010203);
    first.ai_addr = reinterpret_cast<sockaddr*>(&host);
    *found = &first;
    return std::strcmp(name, "h") == 0 ? 0 : EAI_NONAME;
}
void freeaddrinfo(addrinfo*) noexcept {}
int connect(int socket, const sockaddr* name, socklen_t size) {
    if (!script) return static_cast<int>(syscall(SYS_connect, socket, name, size));
    const auto* const to = reinterpret_cast<const sockaddr_in*>(name);
    script->peer += shown(inet_ntoa(to->sin_addr), ntohs(to->sin_port));
    errno = script->connects.empty() ? 0 : script->connects[0];
    if (errno != 0) script->connects.pop_front();
    return errno == 0 ? 0 : -1;
}
int getsockopt(int socket, int level, int name, void* value, socklen_t* size) noexcept {
    if (!script) return static_cast<int>(syscall(SYS_getsockopt, socket, level, name, value, size));
    *static_cast<int*>(value) = script->late_error;
    return 0;
}
int shutdown(int socket, int how) noexcept {
    if (!script) return static_cast<int>(syscall(SYS_shutdown, socket, how));
    script->ended = script->seconds;
    return 0;
}
// Three bytes at a time.
ssize_t send(int socket, const void* bytes, std::size_t size, int flags) {
    if (!script) return syscall(SYS_sendto, socket, bytes, size, flags, nullptr, 0);
    if ((errno = std::exchange(script->send_error, 0)) != 0) return -1;
    script->sent.append(static_cast<const char*>(bytes), std::min<std::size_t>(size, 3));
    return static_cast<ssize_t>(std::min<std::size_t>(size, 3));
}
ssize_t recv(int socket, void* to, std::size_t size, int flags) {
    if (!script) return syscall(SYS_recvfrom, socket, to, size, flags, nullptr, nullptr);
    auto& [seconds, bytes, error] = script->steps.at(0);
    const std::size_t length = bytes.copy(static_cast<char*>(to), size);
    errno = error;
    const ssize_t got = error != 0 ? -1 : static_cast<ssize_t>(length);
    bytes.erase(0, length);
    if (bytes.empty() && (got != 0)) script->steps.pop_front();
    return got;
}
}

class Std_Http : public Scratch_Folder_Test {
protected:
    ~Std_Http() override { std_limits = Std_Limits(); }

    // What is told but the plain begin, with lines cut short; the document; the time.
    static std::string fetched(const char* text, Script host) {
        const Std_URL url(text);
        int document = -1;
        bool is_whole = false;
        script = &host;
        const std::string told = reports_of([&] { document = std_http_fetch(url, &is_whole); });
        script = nullptr;
        EXPECT_EQ(is_whole, told.find("completed") != std::string::npos) << told;
        std::string bytes(200000, '\0');
        bytes.resize(static_cast<std::size_t>(
            std::max<ssize_t>(document < 0 ? 0 : read(document, bytes.data(), bytes.size()), 0)));
        if (document >= 0) close(document);
        EXPECT_TRUE(host.sent.empty() || host.sent == "GET /x\n") << host.sent;
        std::ostringstream all;
        all << host.peer
            << replaced(told, {{"INFO   : ", ""},
                               {"Connecting to host h:80\n", ""},
                               {"Sending HTTP request for /x\n", "sent "},
                               {"sent Waiting for response...\n", ""},
                               {"Beginning data transfert\n", "begin "},
                               {"Data transfert completed.\n", "done "},
                               {"Transfert given up, ", ""},
                               {": http://h/x\n", " "},
                               {"\n", " "}});
        document < 0 ? all << "none" : all << '\'' << bytes << '\'';
        if (host.seconds > 0) all << " after " << std::lround(host.seconds);
        if (host.ended >= 0) all << ", ended " << std::lround(host.ended);
        return all.str();
    }
};

TEST_F(Std_Http, answers) {
    using Steps = std::deque<Script::Step>;
    const Script::Step end = {0, ""}, reset = {0, "", ECONNRESET};
    Steps each(30, {1, "xx"});
    each.push_back(end);
    const std::string large(120000, 'x'), sixty(60, 'x'),
        broken = "Transfert error Connection reset by peer ",
        later = "HTTP/1.0 400 Bad \x1b[2J\r\n\r\n";
    struct Limits {
        double seconds = 3600, pace_seconds = 60;
        long long bytes = 1 << 20, bytes_a_minute = 0;
    };
    const struct {
        Steps steps;
        std::string should;
        Limits limits = {};
    } rows[] = {
        {{{0, "some "}, {3, "text"}, end}, "begin done 'some text' after 3"},
        {{end}, "begin done ''"},
        {{{0, "", EINTR}, {0, "", EAGAIN}, {0, "text"}, end}, "begin done 'text'"},
        {{{0, large}, end},
         "begin 52 Kbytes transferred so far 104 Kbytes transferred so far done '" + large + "'"},
        {{{5, "text"}, end}, "begin done 'text' after 5, ended 1"},
        {{{25, "text"}, end}, "Retrying... begin done 'text' after 25, ended 1"},
        {{}, "Retrying... Connection Timeout. none after 40, ended 1"},
        {{}, "Connection Timeout. none after 10, ended 1", {10}},
        {{}, "Connection Timeout. none after 1", {1}},
        {{{0, "a"}, {30, "b"}, {30, "c"}, end},
         "begin Retrying... Retrying... done 'abc' after 60"},
        {{{0, "a"}}, "begin Retrying... Transfert error the server is silent 'a' after 40"},
        {{{0, "some"}, reset}, "begin " + broken + "'some'"},
        {{reset}, "begin " + broken + "none"},
        {{{0, "some text"}, end}, "begin the document is too large 'some tex'", {99, 60, 8}},
        {{{0, "some text"}, end}, "begin done 'some text'", {99, 60, 9}},
        {{{0, "a"}, {5, "b"}}, "begin it takes too long 'ab' after 10", {10}},
        {each,
         "begin the server is too slow 'xxxxxxxxxxxxxxxxxxxxxx' after 11",
         {99, 10, 999, 133}},
        {each, "begin done '" + sixty + "' after 30", {99, 10, 999, 120}},
        {{{0, later}, end},
         "begin done The document begins with the status line of a later protocol (HTTP/1.0 400 "
         "Bad \\x1b[2J) '" +
             later + "'"},
        {{{0, "HTTP/x"}, end}, "begin done 'HTTP/x'"},
    };
    for (const auto& [steps, should, limits] : rows) {
        std_limits.http_seconds = limits.seconds;
        std_limits.http_pace_seconds = limits.pace_seconds;
        std_limits.http_bytes = limits.bytes;
        std_limits.http_bytes_a_minute = limits.bytes_a_minute;
        EXPECT_EQ(fetched("http://h/x", {steps}), "10.1.2.3 80 " + should);
    }
}

TEST_F(Std_Http, connections) {
    const std::string at = "10.1.2.3 80 ", unable = "Unable to connect to host: ";
    const std::tuple<const char*, Script, std::string> rows[] = {
        {"http://h/x", {.connects = {ETIMEDOUT}}, at + at + "Retrying... begin done 'text'"},
        {"http://h/x",
         {.connects = {ETIMEDOUT, ETIMEDOUT}},
         at + at + "Retrying... " + unable + "Connection timed out none"},
        {"http://h/x", {.connects = {ECONNREFUSED}}, at + unable + "Connection refused none"},
        {"http://h/x",
         {.connects = {EINPROGRESS}, .writable = 5},
         at + "begin done 'text' after 5"},
        {"http://h/x",
         {.connects = {EINTR}, .late_error = ENETDOWN},
         at + unable + "Network is down none"},
        {"http://10.1.2.3/x",
         {.connects = {EINPROGRESS}, .writable = 9999},
         at + "Connecting to host 10.1.2.3:80 " + unable + "Connection timed out none after 3600"},
        {"http://10.1.2.3/x",
         {.writable = 9999},
         at + "Connecting to host 10.1.2.3:80 sent Unable to send HTTP request none after 3600"},
        {"http://h/x", {.writable = 9999}, "Unable to get host address by name none after 3600"},
        {"http://h/x", {.send_error = EPIPE}, at + "sent Unable to send HTTP request none"},
        {"http://h/x", {.send_error = EAGAIN}, at + "begin done 'text'"},
        {"http://h/x\nGET /b", {}, at + "Line feed in HTTP request none"},
        {"http://127.0.0.9:65535/x",
         {.connects = {EPERM}},
         "127.0.0.9 65535 Connecting to host 127.0.0.9:65535 " + unable +
             "Operation not permitted none"},
        {"http://h:65536/x", {}, "Connecting to host h:65536 " + unable + "Invalid argument none"},
        {"http://h:-1/x", {}, "Connecting to host h:-1 " + unable + "Invalid argument none"},
        {"http://no/x", {}, "Connecting to host no:80 Unable to get host address by name none"},
    };
    for (const auto& [url, host, should] : rows) EXPECT_EQ(fetched(url, host), should) << url;
    // A look-up that was given up ends in its own time.
    for (int i = 0; i < 10000 && open_descriptors() > open_at_start; ++i) usleep(1000);
    setenv("TMPDIR", "/no/such/folder", 1);
    EXPECT_EQ(fetched("http://h/x", {}), at + "begin Unable to open local tmp file none");
}
