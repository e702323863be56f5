#include "std/Std_URL.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Curl.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Http.h"
#include "std/Std_Limits.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Path.h"
#include "std/Std_Report.h"
#include "std/Std_Space.h"

Std_URL::Std_URL(const char* text) {
    parse(text);
}

Std_URL::~Std_URL() {
    if (is_open()) close();
}

void Std_URL::parse(const char* text) {
    const int longest = 32000; // leaves room for what is put in front of a text
    valid_ = false;
    if (!text) text = "";
    // Documents put line feeds and blanks around addresses.
    while (std_is_space(*text)) ++text;
    std::size_t length = std::strlen(text);
    while (length > 0 && std_is_space(text[length - 1])) --length;
    if (length > longest) {
        url_string_ = "";
        std_warn(str_format("URL too long: %.100s...", text));
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
    // No colon, no protocol: a path, as scenes mostly have it.
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
    std_warn(str_format("Only file and local protocol are valid without host for URL: %s",
                        url_string_.chars()));
    return false;
}

// As atoi, but numbers that do not fit are cut to the range of int.
static int parse_number(const char* text) {
    const long number = std::strtol(text, nullptr, 10);
    return static_cast<int>(number < INT_MIN ? INT_MIN : number > INT_MAX ? INT_MAX : number);
}

bool Std_URL::parse_with_host() {
    const int ftp_port = 21, http_port = 80, https_port = 443;
    protocol_ = url_string_.before("://", 0);
    if (protocol_ == URL_FILE_PROTOCOL || protocol_ == URL_FTP_PROTOCOL) {
        port_ = ftp_port;
    } else if (protocol_ == URL_HTTP_PROTOCOL) {
        port_ = http_port;
    } else if (protocol_ == URL_HTTPS_PROTOCOL) {
        port_ = https_port;
    } else {
        std_warn(str_format("Unsupported protocol %s in URL %s", protocol_.chars(),
                            url_string_.chars()));
        return false;
    }
    const Std_String rest = url_string_.after("://", 0);
    // Without a slash all of it is the host, and the document is the root.
    host_ = rest.contains('/') ? rest.before('/') : rest.from(0);
    path_ = rest.after('/');
    if (host_.empty()) {
        std_warn(str_format("No file spec in URL %s", url_string_.chars()));
        return false;
    }
    const Std_String port_text = host_.after(':');
    if (!port_text.empty()) {
        port_ = parse_number(port_text);
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
    // "a.b/c.rgb.gz" is "zg.bgr.c/b.a".
    const Std_String r = reverse(path_);
    const Std_String suffix = reverse(Std_String(r.before('.')));
    Std_String rest; // reversed, from the last character of the name on
    extension_ = compression_ = Std_String();
    // A dot in front of the last slash belongs to a folder.
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
    // In the folder of the base, unless that is the root.
    if (const std::size_t folder = std_folder_length(path_); folder > 1)
        text.append(path_.chars(), folder);
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

void Std_URL::open() {
    if (is_open()) close();
    is_whole_ = true;
    if (protocol_ == URL_LOCAL_PROTOCOL || (protocol_ == URL_FILE_PROTOCOL && host_.empty())) {
        local_open();
    } else if (protocol_ == URL_FILE_PROTOCOL || protocol_ == URL_FTP_PROTOCOL) {
        ftp_open();
    } else if (protocol_ == URL_HTTP_PROTOCOL || protocol_ == URL_HTTPS_PROTOCOL) {
        http_open();
    } else {
        std_warn(str_format("Unsupported protocol %s in URL %s", protocol_.chars(),
                            url_string_.chars()));
    }
}

// With the URL last: reports are cut at their end.
void Std_URL::tell_failure(const char* what, const char* reason) {
    is_whole_ = false;
    std_tell(str_format("Error - %.40s (%.90s): %s", what, reason, url_string_.chars()));
}

void Std_URL::close() {
    if (std::ferror(file_)) tell_failure("cannot be read", "input error");
    if (unpacking_.is_running()) {
        const int status = unpacking_.finish();
        // The command may have failed in the middle, after good output: only its status tells.
        const int warning = 2; // of gzip, for what follows the document
        const int not_found = 127;
        if (status == not_found) {
            tell_failure("command not found", command_);
        } else if (status != 0 && !(status == warning && Std_Filter::can_run(command_))) {
            tell_failure("cannot be unpacked",
                         str_format("%s ended with status %d", command_, status));
        }
    } else {
        std::fclose(file_);
    }
    file_ = nullptr;
}

long long Std_URL::get_size() const {
    struct stat status;
    if (command_ || fstat(fileno(file_), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    return status.st_size;
}

std::size_t Std_URL::read(char* to, std::size_t count) {
    if (is_ended_) return 0;
    std::size_t came;
    int error;
    do {
        came = std::fread(to, 1, count, file_);
        error = std::ferror(file_) ? errno : 0;
        if (error) std::clearerr(file_); // close tells what is told nowhere else
    } while (came == 0 && error == EINTR);
    // A signal that came behind some bytes is no failure.
    const bool is_broken = error && error != EINTR;
    if (is_broken) tell_failure("cannot be read", std::strerror(error));
    is_ended_ = came == 0 || is_broken;
    // A few bytes can unpack to any size: beyond the limit the document ends, and says so.
    if (static_cast<long long>(came) > may_come_) {
        came = static_cast<std::size_t>(std::max(may_come_, 0ll));
        is_ended_ = true;
        tell_failure("ends here", command_ ? "it unpacks to more than the limit"
                                           : "it is longer than the limit");
    }
    may_come_ -= static_cast<long long>(came);
    if (!command_ || came == 0) return came;
    const std::size_t taken = Std_Load_Budget::take(Std_Load_Budget::UNPACKED, came);
    if (taken < came) {
        is_ended_ = true;
        tell_failure("ends here", "all documents of the load unpack to more than the limit");
    }
    return taken;
}

// Null for a document that is not compressed.
static const char* unpacking_command(const Std_String& compression) {
    if (compression == "Z") return "zcat";
    if (compression == "gz") return "gunzip";
    return compression == "z" ? "pcat" : nullptr;
}

// Whatever its name: many a VRML file is packed under a plain one.
static bool is_packed_by_gzip(int document) {
    unsigned char begin[2];
    return pread(document, begin, sizeof begin, 0) == sizeof begin && begin[0] == 0x1F &&
           begin[1] == 0x8B;
}

static long long unpacked_limit(int document) {
    // Small documents may unpack to more than their ratio allows: texts of zeros are not hostile.
    struct stat status = {};
    long long limit;
    if (fstat(document, &status) != 0 ||
        __builtin_mul_overflow(status.st_size, std_limits.unpacked_ratio, &limit))
        limit = LLONG_MAX;
    return std::max(limit, std_limits.unpacked_bytes);
}

// Takes the descriptor over; a negative one opens nothing.
void Std_URL::open_document(int document) {
    if (document < 0) return;
    is_ended_ = false;
    command_ = unpacking_command(compression_);
    if (!command_ && is_packed_by_gzip(document)) command_ = unpacking_command("gz");
    if (!command_) {
        // What came over a network had its limit on the way.
        may_come_ = is_local() ? std_limits.local_bytes : LLONG_MAX;
        file_ = fdopen(document, "r");
        if (file_) return;
    } else {
        may_come_ = unpacked_limit(document);
        file_ = unpacking_.start(command_, document);
    }
    ::close(document);
}

// It may be a pipe or a terminal, but a folder is no document under this name either.
static int open_standard_input() {
    struct stat status;
    if (fstat(STDIN_FILENO, &status) == 0 && S_ISDIR(status.st_mode)) return -1;
    return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

void Std_URL::local_open() {
    open_document(is_standard_input() ? open_standard_input() : std_open_plain(path_));
}

void Std_URL::ftp_open() {
    std_warn("ftp_open not implemented");
}

void Std_URL::http_open() {
    const bool is_plain = protocol_ == URL_HTTP_PROTOCOL;
    int document = is_plain ? std_http_fetch(*this, &is_whole_) : -1;
    if (!is_plain || (document >= 0 && std_begins_with_status_line(document))) {
        bool is_whole, is_found;
        const int fetched = std_curl_fetch(*this, &is_whole, &is_found);
        // Without the command, what the server said is the document.
        if (is_found || document < 0) {
            if (document >= 0) ::close(document);
            document = fetched;
            is_whole_ = is_whole;
        }
    }
    open_document(document);
}
