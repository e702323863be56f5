#include "std/Std_Curl.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "std/Std_Common.h"
#include "std/Std_Descriptor.h"
#include "std/Std_Filter.h"
#include "std/Std_GC.h"
#include "std/Std_Limits.h"
#include "std/Std_Load_Budget.h"
#include "std/Std_Report.h"
#include "std/Std_Shell.h"
#include "std/Std_URL.h"

// There are no fragments in our URLs, and no blanks in those of the command.
static std::string address_of(const Std_URL& url) {
    std::string address = str_format("%s://%.300s:%d/", url.get_protocol().chars(),
                                     url.get_host().chars(), url.get_port());
    for (const char* c = url.get_path(); *c; ++c) {
        if (static_cast<unsigned char>(*c) <= ' ' || *c == '#' || *c == '\x7F') {
            address += str_format("%%%02X", static_cast<unsigned>(*c));
        } else {
            address += *c;
        }
    }
    return address;
}

static std::string command_for(const Std_URL& url) {
    // Without the user's own settings, which may name other protocols and files to write.
    std::string command = "curl --disable --silent --show-error --fail --globoff --location"
                          " --max-redirs 10 --proto =http,https --proto-redir =http,https";
    const auto add = [&](const char* option, double value) {
        command += str_format(" %s %.0f", option, std::ceil(std::max(value, 1.0)));
    };
    add("--max-filesize", static_cast<double>(std_limits.http_bytes));
    add("--max-time", std_limits.http_seconds);
    if (std_limits.http_pace_seconds > 0) {
        add("--speed-limit", static_cast<double>(std_limits.http_bytes_a_minute) / 60);
        add("--speed-time", std_limits.http_pace_seconds);
    }
    return command + " -- " + std_shell_argument(address_of(url).c_str());
}

// The URL last: reports are cut at their end.
static void tell(const char* what, const Std_URL& url) {
    std_tell(str_format("Error - %.90s: %s", what, url.get_url_string().chars()));
}

// Bytes that were stored; `complaint` becomes what ended it before its end.
static long long store_all(std::FILE* from, int to, const char** complaint) {
    const std::size_t size = 4096;
    char* const block = new (GCAtomic) char[size]; // threads may have small stacks
    long long total = 0;
    while (const std::size_t got = std::fread(block, 1, size, from)) {
        const long long room = std_limits.http_bytes - total;
        const auto fits =
            static_cast<std::size_t>(std::clamp(room, 0ll, static_cast<long long>(got)));
        const std::size_t taken = Std_Load_Budget::take(
            Std_Load_Budget::FETCHED, Std_Load_Budget::take(Std_Load_Budget::STORED, fits));
        if (!std_write_all(to, block, taken)) {
            *complaint = "Problem writing to tmpfile";
            return 0;
        }
        total += static_cast<long long>(taken);
        if (taken == got) continue;
        *complaint =
            fits < got ? "the document is too large" : "all documents of the load are too large";
        break;
    }
    return total;
}

int std_curl_fetch(const Std_URL& url, bool* is_whole, bool* is_found) {
    *is_whole = false;
    *is_found = true;
    std_tell(str_format("Asking curl for %s", url.get_url_string().chars()));
    const int document = std_open_nameless();
    if (document < 0) {
        std_tell("Unable to open local tmp file");
        return -1;
    }
    Std_Filter curl;
    const char* complaint = nullptr;
    const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC); // for its standard input
    std::FILE* const answer = nothing < 0 ? nullptr : curl.start(command_for(url).c_str(), nothing);
    if (nothing >= 0) close(nothing);
    const long long total = answer ? store_all(answer, document, &complaint) : 0;
    const int status = curl.finish(), not_found = 127;
    *is_found = status != not_found;
    if (!*is_found) {
        complaint = "command not found (curl)";
    } else if (status != 0) {
        complaint = str_format("curl ended with status %d", status);
    } else if (!answer) {
        complaint = "curl cannot be started";
    }
    *is_whole = !complaint;
    if (complaint) tell(complaint, url);
    if ((*is_whole || total > 0) && lseek(document, 0, SEEK_SET) == 0) return document;
    close(document);
    return -1;
}
