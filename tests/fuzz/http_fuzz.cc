// An http server's answer through Std_URL. The first line says how it comes: its first byte,
// whether it is packed (bit 0) and limited (bit 1); each further one, the size of a piece or an
// error instead of one. All other bytes are the answer, which must come back as far as it came.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>

#include "std/Std_Limits.h"
#include "std/Std_Messager.h"
#include "std/Std_URL.h"

static std::string manner, answer, request;
static std::size_t step, given; // of the manner, of the answer
static bool is_broken, is_status_told;

extern "C" {
int connect(int, const sockaddr*, socklen_t) {
    return 0;
}
ssize_t send(int, const void* bytes, std::size_t size, int) {
    const std::size_t sent = std::min<std::size_t>(size, 3);
    request.append(static_cast<const char*>(bytes), sent);
    return static_cast<ssize_t>(sent);
}
ssize_t recv(int, void* to, std::size_t size, int) {
    std::size_t piece = size;
    if (++step < manner.size()) {
        const char kind = manner[step];
        is_broken = kind == 'r';
        errno = kind == 'r' ? ECONNRESET : kind == 'i' ? EINTR : EAGAIN;
        if (kind == 'r' || kind == 'i' || kind == 'a') return -1;
        piece = std::max<std::size_t>(static_cast<unsigned char>(kind), 1);
    }
    piece = std::min({piece, size, answer.size() - given});
    std::memcpy(to, answer.data() + given, piece);
    given += piece;
    return static_cast<ssize_t>(piece);
}
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
}

namespace {
class Listener : public Std_Messager {
    STD_OBJ_CLASS(Listener, Std_Messager)
    Listener() : Std_Messager(1, 1) {}
    void refresh(const char* text) override {
        if (std::strstr(text, "begins with the status line")) is_status_told = true;
    }
};
} // namespace

static std::string contents(Std_URL& url) {
    char block[1000];
    std::string text;
    while (const std::size_t got = url.read(block, sizeof block)) text.append(block, got);
    url.close();
    return text;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Listener* const listener = new (NoGC) Listener;
    std_set_current_messager(listener);
    const std::string text(reinterpret_cast<const char*>(data), size);
    manner = text.substr(0, text.find('\n'));
    answer = text.substr(std::min(manner.size() + 1, text.size()));
    request.clear();
    step = given = 0;
    is_broken = is_status_told = false;
    const int flags = manner.empty() ? 0 : manner[0];
    const bool is_packed = flags & 1, is_limited = flags & 2;
    const std::size_t limit = is_limited ? 3 * manner.size() : 1 << 20;
    std_limits.http_bytes = static_cast<long long>(limit);
    std_limits.unpacked_bytes = 1 << 16;

    Std_URL url(is_packed ? "http://127.0.0.1/x.gz" : "http://127.0.0.1/x");
    url.open();
    if (request != (is_packed ? "GET /x.gz\n" : "GET /x\n")) std::abort();
    const std::string came = answer.substr(0, std::min(given, limit));
    if (url.is_open() == (came.empty() && (is_broken || given > 0))) std::abort();
    if (!url.is_open()) return 0;
    const bool has_status =
        came.size() > 5 && came.starts_with("HTTP/") && came[5] >= '0' && came[5] <= '9';
    if (is_status_told != has_status) std::abort();
    const std::string document = contents(url);
    if (is_packed ? document.size() > std::max<std::size_t>(1 << 16, 256 * came.size())
                  : document != came)
        std::abort();
    return 0;
}
