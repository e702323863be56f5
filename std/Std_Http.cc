#include "std/Std_Http.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Limits.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Report.h"
#include "std/Std_URL.h"

static double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// The socket never blocks: a call may find nothing to do although poll promised something.
static bool is_to_be_tried_again(int error) {
    return error == EINTR || error == EAGAIN || error == EWOULDBLOCK;
}

namespace {
// One request and its answer, on a socket that never blocks.
class Exchange {
public:
    explicit Exchange(const Std_URL& url) : url_(url) {}
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange() {
        if (socket_ >= 0) close(socket_);
    }

    // In this order, while they answer true. False is reported.
    bool connect();
    bool request();
    bool store(int file, bool* is_whole);

private:
    enum Ending { NONE, COMPLETE, BROKEN, NOT_STORED };

    int connect_once(const sockaddr_in& name);
    bool send_all(const std::string& text);
    bool find_address(in_addr& address) const;
    int wait(int descriptor, short event, double until) const;
    int wait_for_answer();
    double end_of_time() const { return start_ + std_limits.http_seconds; }
    static double pace_period() {
        return std_limits.http_pace_seconds > 0 ? std_limits.http_pace_seconds : HUGE_VAL;
    }
    Ending end_of_patience();
    Ending take(char* bytes, ssize_t got, int file);
    Ending give_up(const char* reason) const;

    static constexpr double longest_silence_ = 20; // twice
    const Std_URL& url_;
    const double start_ = now();
    int socket_ = -1;
    long long total_ = 0, told_ = 0;
    double last_data_ = 0;
    bool is_silent_ = false; // already for the first time of two
    double pace_start_ = 0;
    long long pace_total_ = 0; // when the pace was looked at last
};
} // namespace

// Until the descriptor is ready: positive; 0 when it is `until` or all time is over, negative for
// an error.
int Exchange::wait(int descriptor, short event, double until) const {
    // A signal must not lengthen the wait, nor may milliseconds overflow an int: each time round,
    // what is left is taken from the clock.
    pollfd channel = {descriptor, event, 0};
    until = std::min(until, end_of_time());
    for (;;) {
        const double milliseconds = std::ceil((until - now()) * 1000);
        const bool is_over = !(milliseconds > 0);
        const double longest = 1e6;
        const int ready =
            poll(&channel, 1, is_over ? 0 : static_cast<int>(std::min(milliseconds, longest)));
        if (ready > 0 || (ready == 0 && is_over)) return ready;
        if (ready < 0 && errno != EINTR) return ready;
    }
}

// Of a host, and where the answer goes.
struct Name_Question {
    int answer;
    char* host;
};

// Writes the address of the host, or nothing, and ends all that it was given.
static void* ask_name_server(void* argument) {
    auto* const question = static_cast<Name_Question*>(argument);
    addrinfo hints = {}, *found = nullptr;
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    if (getaddrinfo(question->host, nullptr, &hints, &found) == 0) {
        const in_addr address = reinterpret_cast<const sockaddr_in*>(found->ai_addr)->sin_addr;
        // Nobody reads it who has waited too long: no failure, and no signal, as all are blocked.
        [[maybe_unused]] const ssize_t put = write(question->answer, &address, sizeof address);
    }
    close(question->answer);
    if (found) freeaddrinfo(found);
    std::free(question->host);
    std::free(question);
    return nullptr;
}

// A thread that nobody waits for. Its memory is plain: the collector does not know it.
static bool start_question(const char* host, int answer) {
    auto* const question = static_cast<Name_Question*>(std::malloc(sizeof(Name_Question)));
    if (!question) return false;
    *question = {answer, strdup(host)};
    sigset_t all, mask;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &mask);
    pthread_t thread;
    const bool is_started =
        question->host && pthread_create(&thread, nullptr, ask_name_server, question) == 0;
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if (is_started) {
        pthread_detach(thread);
    } else {
        std::free(question->host);
        std::free(question);
    }
    return is_started;
}

// The system's look-up knows no limit of time: it is left behind in its thread when time is over.
bool Exchange::find_address(in_addr& address) const {
    const char* const host = url_.get_host();
    // A number is no question for a name server.
    address.s_addr = inet_addr(host);
    if (address.s_addr != INADDR_NONE) return true;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    for (int& end : ends) end = std_above_standard(end);
    const bool is_started = ends[0] >= 0 && ends[1] >= 0 && start_question(host, ends[1]);
    if (!is_started && ends[1] >= 0) close(ends[1]);
    const auto is_ready = [&] { return wait(ends[0], POLLIN, end_of_time()) > 0; };
    const bool is_found =
        is_started && is_ready() && read(ends[0], &address, sizeof address) == sizeof address;
    // Up to its end, behind which the thread has no descriptor open.
    char end;
    while (is_found && is_ready() && read(ends[0], &end, 1) < 0 && errno == EINTR) {
    }
    if (ends[0] >= 0) close(ends[0]);
    return is_found;
}

// 0, or what went wrong.
int Exchange::connect_once(const sockaddr_in& name) {
    const auto* const peer = reinterpret_cast<const sockaddr*>(&name);
    if (::connect(socket_, peer, sizeof name) == 0) return 0;
    if (errno != EINPROGRESS && errno != EINTR) return errno;
    if (wait(socket_, POLLOUT, end_of_time()) <= 0) return ETIMEDOUT;
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket_, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

bool Exchange::connect() {
    socket_ = std_above_standard(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (socket_ < 0) {
        std_tell("Unable to open socket");
        return false;
    }
    const int port = url_.get_port();
    std_tell(str_format("Connecting to host %s:%d", url_.get_host().chars(), port));
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    if (!find_address(name.sin_addr)) {
        std_tell("Unable to get host address by name");
        return false;
    }
    int error = port < 0 || port > USHRT_MAX ? EINVAL : connect_once(name);
    if (error == ETIMEDOUT && now() < end_of_time()) {
        std_tell("Retrying...");
        error = connect_once(name);
    }
    if (error) std_tell(str_format("Unable to connect to host: %s", std::strerror(error)));
    return !error;
}

bool Exchange::send_all(const std::string& text) {
    for (std::size_t sent = 0; sent < text.size();) {
        if (wait(socket_, POLLOUT, end_of_time()) <= 0) return false;
        // A peer that has gone must not end the process by a signal.
        const ssize_t put = send(socket_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (put < 0 && is_to_be_tried_again(errno)) continue;
        if (put <= 0) return false;
        sent += static_cast<std::size_t>(put);
    }
    return true;
}

int Exchange::wait_for_answer() {
    const double begin = now();
    int ready = wait(socket_, POLLIN, begin + 1);
    if (ready != 0 || now() >= end_of_time()) return ready;
    // The answer mostly comes within this second; only then is our side closed, which some servers
    // take for the end of the whole connection.
    // Servers of later forms of the protocol wait for headers, until nothing can come any more.
    shutdown(socket_, SHUT_WR);
    ready = wait(socket_, POLLIN, begin + longest_silence_);
    if (ready != 0 || now() >= end_of_time()) return ready;
    std_tell("Retrying...");
    return wait(socket_, POLLIN, now() + longest_silence_);
}

bool Exchange::request() {
    const char* const path = url_.get_path();
    if (std::strpbrk(path, "\r\n")) {
        // It would end the request and begin another one.
        std_tell("Line feed in HTTP request");
        return false;
    }
    std_tell(str_format("Sending HTTP request for /%s", path));
    if (!send_all(std::string("GET /") + path + "\n")) {
        std_tell("Unable to send HTTP request");
        return false;
    }
    std_tell("Waiting for response...");
    const int ready = wait_for_answer();
    if (ready < 0) std_tell("Unable to select");
    if (ready == 0) std_tell("Connection Timeout.");
    return ready > 0;
}

Exchange::Ending Exchange::give_up(const char* reason) const {
    std_tell(str_format("Transfert given up, %s: %s", reason, url_.get_url_string().chars()));
    return BROKEN;
}

// Looks whether it is time to wait no longer.
// Three limits: the time for all, a least pace in each period, and silence, which is told once and
// waited out a second time.
Exchange::Ending Exchange::end_of_patience() {
    const double time = now();
    if (time >= end_of_time()) return give_up("it takes too long");
    const double period = pace_period();
    if (time - pace_start_ >= period) {
        const double least = static_cast<double>(std_limits.http_bytes_a_minute) * period / 60;
        if (static_cast<double>(total_ - pace_total_) < least)
            return give_up("the server is too slow");
        pace_start_ = time;
        pace_total_ = total_;
    }
    if (time - last_data_ < longest_silence_ * (is_silent_ ? 2 : 1)) return NONE;
    std_tell(is_silent_ ? "Transfert error" : "Retrying...");
    if (is_silent_) return give_up("the server is silent");
    is_silent_ = true;
    return NONE;
}

// What a read gave.
Exchange::Ending Exchange::take(char* bytes, ssize_t got, int file) {
    // Bytes; a line for each would be slower than the document.
    const long long progress_interval = 51200;
    if (got == 0) return COMPLETE;
    if (got < 0) {
        const char* const reason = std::strerror(errno);
        std_tell("Transfert error");
        return give_up(reason);
    }
    // What is still allowed is stored before the rest is refused: a document cut there is better
    // than none.
    const long long room = std::max(std_limits.http_bytes - total_, 0ll);
    const long long fits = std::min<long long>(got, room);
    const std::size_t fetched =
        Std_Load_Budget::take(Std_Load_Budget::FETCHED, static_cast<std::size_t>(fits));
    const auto taken =
        static_cast<long long>(Std_Load_Budget::take(Std_Load_Budget::STORED, fetched));
    total_ += taken;
    last_data_ = now();
    is_silent_ = false;
    if (total_ - told_ > progress_interval) {
        told_ = total_;
        std_tell(str_format("%lld Kbytes transferred so far", total_ / 1024));
    }
    if (!std_write_all(file, bytes, static_cast<std::size_t>(taken))) {
        std_tell("Problem writing to tmpfile");
        return NOT_STORED;
    }
    if (fits < got) return give_up("the document is too large");
    return taken < got ? give_up("all documents of the load are too large") : NONE;
}

bool Exchange::store(int file, bool* is_whole) {
    const std::size_t size = 4096;
    char* const block = new (GCAtomic) char[size]; // threads may have small stacks
    Ending ending = NONE;
    last_data_ = pace_start_ = now();
    while (ending == NONE) {
        // Never longer than to the next moment at which patience could end.
        const double silence = longest_silence_ * (is_silent_ ? 2 : 1);
        const double pace_end = pace_start_ + pace_period();
        const int ready = wait(socket_, POLLIN, std::min(last_data_ + silence, pace_end));
        if (ready != 0) {
            const ssize_t got = ready < 0 ? -1 : recv(socket_, block, size, 0);
            if (got < 0 && is_to_be_tried_again(errno)) continue;
            ending = take(block, got, file);
        }
        if (ending == NONE) ending = end_of_patience();
    }
    *is_whole = ending == COMPLETE;
    if (*is_whole) std_tell("Data transfert completed.");
    return *is_whole || (ending == BROKEN && total_ > 0);
}

// The first line, or what there is room for.
static bool get_status_line(int document, char* line, std::size_t room) {
    const ssize_t got = pread(document, line, room - 1, 0);
    line[std::max<ssize_t>(got, 0)] = '\0';
    static const char mark[] = "HTTP/";
    const std::size_t length = sizeof mark - 1;
    line[std::strcspn(line, "\r\n")] = '\0';
    return std::strncmp(line, mark, length) == 0 &&
           std::isdigit(static_cast<unsigned char>(line[length]));
}

bool std_begins_with_status_line(int document) {
    char line[16];
    return get_status_line(document, line, sizeof line);
}

static void tell_status_line(int document, const Std_URL& url) {
    char line[100];
    if (!get_status_line(document, line, sizeof line)) return;
    std_tell(str_format("The document begins with the status line of a later protocol (%s): %s",
                        line, url.get_url_string().chars()));
}

int std_http_fetch(const Std_URL& url, bool* is_whole) {
    Exchange exchange(url);
    if (!exchange.connect() || !exchange.request()) return -1;
    std_tell("Beginning data transfert");
    const int document = std_open_nameless();
    if (document < 0) {
        std_tell("Unable to open local tmp file");
        return -1;
    }
    // A file rather than the socket is what the caller reads: it can be unpacked and begun anew,
    // and has no name that could stay behind.
    const bool is_stored = exchange.store(document, is_whole);
    if (is_stored) tell_status_line(document, url);
    if (is_stored && lseek(document, 0, SEEK_SET) == 0) return document;
    close(document);
    return -1;
}
