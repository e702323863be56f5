#include "std/Std_URL.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "std/Std_Assert.h"
#include "std/Std_Common.h"
#include "std/Std_Shell.h"

static void warn(const char* message) {
    std_assert(2, message, __FILE__, __LINE__);
}

static void tell(const char* message) {
    std_assert(0, message, __FILE__, __LINE__);
}

Std_URL::Std_URL(const char* text) {
    parse(text);
}

Std_URL::~Std_URL() {
    if (is_open()) close();
}

static bool is_space(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

void Std_URL::parse(const char* text) {
    const int longest = 32000; // leaves room for what is put in front of a text
    valid_ = false;
    if (!text) text = "";
    while (is_space(*text)) ++text;
    std::size_t length = std::strlen(text);
    while (length > 0 && is_space(text[length - 1])) --length;
    if (length > longest) {
        url_string_ = "";
        warn(str_format("URL too long: %.100s...", text));
    } else {
        url_string_ = Std_String(text, static_cast<int>(length));
        valid_ = url_string_.before("://", 0).empty() ? parse_bare() : parse_with_host();
    }
    if (valid_) {
        derive_names();
    } else {
        clear_fields();
    }
}

bool Std_URL::parse_bare() {
    protocol_ = url_string_.before(":", 0);
    host_ = "";
    port_ = 0;
    if (protocol_.empty()) {
        protocol_ = URL_LOCAL_PROTOCOL;
        path_ = url_string_;
        return true;
    }
    if (protocol_ == URL_FILE_PROTOCOL) {
        path_ = url_string_.after(":", 0);
        return true;
    }
    warn(str_format("Only file and local protocol are valid without host for URL: %s",
                    url_string_.chars()));
    return false;
}

// As atoi, but numbers that do not fit are cut to the range of int.
static int number_of(const char* text) {
    const long number = std::strtol(text, nullptr, 10);
    return static_cast<int>(number < INT_MIN ? INT_MIN : number > INT_MAX ? INT_MAX : number);
}

bool Std_URL::parse_with_host() {
    const int ftp_port = 21, http_port = 80;
    protocol_ = url_string_.before("://", 0);
    if (protocol_ == URL_FILE_PROTOCOL || protocol_ == URL_FTP_PROTOCOL) {
        port_ = ftp_port;
    } else if (protocol_ == URL_HTTP_PROTOCOL) {
        port_ = http_port;
    } else {
        warn(str_format("Unsupported protocol %s in URL %s", protocol_.chars(),
                        url_string_.chars()));
        return false;
    }
    const Std_String rest = url_string_.after("://", 0);
    host_ = rest.contains('/') ? rest.before('/') : rest.from(0);
    path_ = rest.after('/');
    if (host_.empty()) {
        warn(str_format("No file spec in URL %s", url_string_.chars()));
        return false;
    }
    const Std_String port_text = host_.after(':');
    if (!port_text.empty()) {
        port_ = number_of(port_text);
        host_ = Std_String(host_.before(':'));
    }
    return true;
}

void Std_URL::clear_fields() {
    for (Std_String* field : {&protocol_, &host_, &path_, &extension_, &compression_, &name_})
        *field = "";
    port_ = 0;
}

// Works on the reversed path, where the last dot and the last slash come first.
void Std_URL::derive_names() {
    const Std_String r = reverse(path_);
    const Std_String suffix = reverse(Std_String(r.before('.')));
    Std_String rest; // reversed, from the last character of the name on
    extension_ = compression_ = Std_String();
    if (suffix.empty() || suffix.contains('/')) {
        rest = r.before('/');
        if (rest.empty()) rest = r;
    } else if (suffix == "Z" || suffix == "gz" || suffix == "z") {
        compression_ = suffix;
        const Std_String inner = r.after('.');
        extension_ = reverse(Std_String(inner.before('.')));
        rest = inner.after('.');
    } else {
        extension_ = suffix;
        rest = r.after('.');
    }
    const Std_String last = rest.before('/');
    name_ = reverse(last.empty() ? rest : last);
}

Std_URL* Std_URL::composed_with(const Std_URL* relative) const {
    const bool is_relative = relative->is_valid() && relative->protocol_ == URL_LOCAL_PROTOCOL;
    if (!is_relative) return new Std_URL(relative->url_string_);
    std::string text; // may become longer than a Std_String; parse then refuses it
    if (protocol_ != URL_LOCAL_PROTOCOL) {
        text = std::string(protocol_) + ":";
        if (!host_.empty()) text += "//" + std::string(host_) + ":" + std::to_string(port_) + "/";
    }
    const char* const path = path_;
    if (const char* slash = std::strrchr(path, '/'); slash && slash != path)
        text.append(path, slash + 1);
    text += relative->path_.chars();
    return new Std_URL(text.c_str());
}

std::ostream& operator<<(std::ostream& out, const Std_URL& url) {
    out << "URL {\n";
    out << "  url_string = " << url.get_url_string() << "\n";
    if (url.is_valid()) {
        out << "  protocol    = " << url.get_protocol() << "\n";
        out << "  host        = " << url.get_host() << "\n";
        out << "  port        = " << url.get_port() << "\n";
        out << "  path        = " << url.get_path() << "\n";
        out << "  name        = " << url.get_name() << "\n";
        out << "  extension   = " << url.get_extension() << "\n";
        out << "  compression = " << url.get_compression() << "\n";
        if (url.is_open()) out << " FILE Open \n";
    } else {
        out << " INVALID!\n";
    }
    return out << "}\n";
}

std::ostream& operator<<(std::ostream& out, const Std_URL* url) {
    return url ? out << *url : out << "Nil\n";
}

// Retrieval.

void Std_URL::open() {
    if (is_open()) close();
    if (protocol_ == URL_LOCAL_PROTOCOL || (protocol_ == URL_FILE_PROTOCOL && host_.empty())) {
        local_open();
    } else if (protocol_ == URL_FILE_PROTOCOL || protocol_ == URL_FTP_PROTOCOL) {
        ftp_open();
    } else if (protocol_ == URL_HTTP_PROTOCOL) {
        http_open();
    } else {
        warn(str_format("Unsupported protocol %s in URL %s", protocol_.chars(),
                        url_string_.chars()));
    }
}

void Std_URL::close() {
    pclose(file_);
    file_ = nullptr;
    if (temporary_name_.empty()) return;
    if (unlink(temporary_name_) != 0) tell("Problems unlinking temporary file");
    temporary_name_ = "";
}

std::size_t Std_URL::read(char* to, std::size_t count) {
    ssize_t got;
    do got = ::read(fileno(file_), to, count);
    while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

static const int request_size = 512;

// Formats into one of the buffers below. False, with a report, if the text does not fit.
static bool put_command(char* buffer, const char* format, const char* argument) {
    const int length = std::snprintf(buffer, request_size, format, argument);
    if (length >= 0 && length < request_size) return true;
    tell(str_format("Path too long: %.100s...", argument));
    return false;
}

void Std_URL::open_pipe(const char* path) {
    static char cmd[request_size]; // overwritten by every open
    const char* format = "cat %s";
    if (compression_ == "Z") format = "cat %s | zcat";
    if (compression_ == "gz") format = "cat %s | gunzip";
    if (compression_ == "z") format = "pcat %s";
    if (put_command(cmd, format, std_shell_word(path))) file_ = popen(cmd, "r");
}

void Std_URL::local_open() {
    if (path_ != "-") {
        std::FILE* const probe = std::fopen(path_, "r");
        if (!probe) return;
        std::fclose(probe);
    }
    temporary_name_ = "";
    open_pipe(path_);
}

void Std_URL::ftp_open() {
    warn("ftp_open not implemented");
}

static bool find_address(const char* host, in_addr& address) {
    address.s_addr = inet_addr(host);
    if (address.s_addr != INADDR_NONE) return true;
    const hostent* const found = gethostbyname(host);
    if (!found || found->h_addrtype != AF_INET || !found->h_addr_list[0]) return false;
    std::memcpy(&address, found->h_addr_list[0], sizeof address);
    return true;
}

// 0, or what went wrong.
static int connect_to(int socket, const in_addr& address, int port) {
    if (port < 0 || port > USHRT_MAX) return EINVAL;
    sockaddr_in name = {};
    name.sin_family = AF_INET;
    name.sin_port = htons(static_cast<std::uint16_t>(port));
    name.sin_addr = address;
    const auto* const peer = reinterpret_cast<const sockaddr*>(&name);
    if (connect(socket, peer, sizeof name) == 0) return 0;
    if (errno != ETIMEDOUT) return errno;
    tell("Retrying...");
    return connect(socket, peer, sizeof name) == 0 ? 0 : errno;
}

// On failure: -1, reported.
int Std_URL::connected_socket() const {
    const int channel = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (channel < 0) {
        tell("Unable to open socket");
        return -1;
    }
    tell(str_format("Connecting to host %s:%d", host_.chars(), port_));
    in_addr address;
    if (!find_address(host_, address)) {
        tell("Unable to get host address by name");
    } else if (const int error = connect_to(channel, address, port_)) {
        tell(str_format("Unable to connect to host: %s", std::strerror(error)));
    } else {
        return channel;
    }
    ::close(channel);
    return -1;
}

static bool is_sent(int socket, const char* text) {
    for (std::size_t rest = std::strlen(text); rest > 0;) {
        // A peer that has gone must not end the process by a signal.
        const ssize_t sent = send(socket, text, rest, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        text += sent;
        rest -= static_cast<std::size_t>(sent);
    }
    return true;
}

// Waits until there is something to read: positive; 0 after the time is over, negative for an
// error. Signals do not make the time longer.
static int wait_once(int socket) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + seconds(20);
    pollfd channel = {socket, POLLIN, 0};
    for (;;) {
        const auto left = duration_cast<milliseconds>(end - steady_clock::now()).count();
        const int ready = poll(&channel, 1, static_cast<int>(std::max<long long>(left, 0)));
        if (ready >= 0 || errno != EINTR) return ready;
    }
}

static int wait_for_data(int socket) {
    int ready = wait_once(socket);
    if (ready != 0) return ready;
    tell("Retrying...");
    return wait_once(socket);
}

// Sends the request and waits for the answer. On failure: false, reported.
bool Std_URL::is_requested(int socket) const {
    static char http_request[request_size]; // overwritten by every request
    if (!put_command(http_request, "GET /%s\n", path_)) return false;
    for (const char* c = path_; *c; ++c) {
        // It would end the request and begin another one.
        if (*c != '\n' && *c != '\r') continue;
        tell("Line feed in HTTP request");
        return false;
    }
    tell(str_format("Sending HTTP request for /%s", path_.chars()));
    if (!is_sent(socket, http_request)) {
        tell("Unable to send HTTP request");
        return false;
    }
    tell("Waiting for response...");
    const int ready = wait_for_data(socket);
    if (ready < 0) tell("Unable to select");
    if (ready == 0) tell("Connection Timeout.");
    return ready > 0;
}

// Stores all that comes. On failure: false, reported.
bool Std_URL::fetch(int socket, std::FILE* store) const {
    static char buf[4096]; // overwritten by every read
    const long long progress_interval = 51200;
    long long total = 0, told = 0;
    for (;;) {
        // A server that falls silent halfway is given up like one that never answers.
        const bool is_ready = wait_for_data(socket) > 0;
        const ssize_t got = is_ready ? ::read(socket, buf, sizeof buf) : -1;
        if (is_ready && got < 0 && errno == EINTR) continue;
        if (got < 0) tell("Transfert error");
        if (got < 1) return got == 0;
        total += got;
        if (total - told > progress_interval) {
            told = total;
            tell(str_format("%d Kbytes transferred so far", static_cast<int>(total / 1024)));
        }
        const auto size = static_cast<std::size_t>(got);
        if (std::fwrite(buf, 1, size, store) < size) {
            tell("Problem writing to tmpfile");
            return false;
        }
    }
}

void Std_URL::http_open() {
    const int channel = connected_socket();
    if (channel < 0) return;
    if (!is_requested(channel)) {
        ::close(channel);
        return;
    }
    tell("Beginning data transfert");
    const char* name;
    const int descriptor = std_open_tmp_file(&name);
    std::FILE* const store = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    if (!store) {
        if (descriptor >= 0) {
            ::close(descriptor);
            unlink(name);
        }
        tell("Unable to open local tmp file");
        ::close(channel);
        return;
    }
    bool is_stored = fetch(channel, store);
    if (std::fclose(store) != 0 && is_stored) {
        // What was buffered did not fit on the disk.
        tell("Problem writing to tmpfile");
        is_stored = false;
    }
    ::close(channel);
    if (!is_stored) {
        unlink(name);
        return;
    }
    tell("Data transfert completed.");
    temporary_name_ = name;
    open_pipe(name);
    if (!is_open()) {
        unlink(name);
        temporary_name_ = "";
    }
}
