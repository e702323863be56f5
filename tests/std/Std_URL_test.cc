#include "std/Std_URL.h"

#include <cstring>
#include <netinet/in.h>
#include <set>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "std/Std_Common.h"
#include "std/Std_Shell.h"
#include "tests/Scratch_Folder.h"

namespace fs = std::filesystem;
using std::string_literals::operator""s;

class Std_URL_test : public Scratch_Folder_Test {
protected:
    Std_URL_test() { setenv("PATH", (NOLT_TOOLS_DIR ":"s + getenv("PATH")).c_str(), 1); }
};

static std::string contents(Std_URL& url) {
    std::string text;
    url.open();
    if (!url.is_open()) return "(closed)";
    char buffer[1000];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, url.get_file()))
        text.append(buffer, got);
    url.close();
    return text;
}

static std::string contents(const std::string& name) {
    Std_URL url(name.c_str());
    return contents(url);
}

static std::string fields(const Std_URL& u) {
    return str_format("%s|%s|%d|%s|%s|%s|%s", u.get_protocol().chars(), u.get_host().chars(),
                      u.get_port(), u.get_path().chars(), u.get_name().chars(),
                      u.get_extension().chars(), u.get_compression().chars());
}

TEST(Std_URL, parse) {
    const struct {
        const char *text, *should, *report;
    } rows[] = {
        {"a/b/c.rgb", "local||0|a/b/c.rgb|c|rgb|", ""},
        {" \t c.rgb.gz\n", "local||0|c.rgb.gz|c|rgb|gz", ""},
        {"/d.e/f", "local||0|/d.e/f|f||", ""},
        {"file:/x/y.Z", "file||0|/x/y.Z|||Z", ""},
        {"http://h/a/b.txt", "http|h|80|a/b.txt|b|txt|", ""},
        {"http://h:8080/a.z", "http|h|8080|a.z|||z", ""},
        {"ftp://h/p", "ftp|h|21|p|p||", ""},
        {"a.tar.gz", "local||0|a.tar.gz|a|tar|gz", ""},
        {"a.b/c", "local||0|a.b/c|c||", ""},
        {"", "local||0||||", ""},
        {"http://h", "http|h|80||||", ""},
        {"http://:80/x", "http||80|x|x||", ""},
        {"http://h:x/y?q=%20", "http|h|0|y?q=%20|y?q=%20||", ""},
        {"http://h:99999999999/y", "http|h|2147483647|y|y||", ""},
        {"file://h/p", "file|h|21|p|p||", ""},
        {"file:///x", "||0||||", "No file spec in URL file:///x"},
        {"http:///x", "||0||||", "No file spec in URL http:///x"},
        {"C:x", "||0||||", "Only file and local protocol are valid without host for URL: C:x"},
        {"news://h/x", "||0||||", "Unsupported protocol news in URL news://h/x"},
        {"HTTP://h/x", "||0||||", "Unsupported protocol HTTP in URL HTTP://h/x"},
    };
    for (const auto& r : rows) {
        ::testing::internal::CaptureStderr();
        const Std_URL url(r.text);
        const std::string report = ::testing::internal::GetCapturedStderr();
        EXPECT_EQ(fields(url), r.should) << r.text;
        EXPECT_EQ(report.find("WARNING: "s + r.report + " in line"),
                  *r.report ? 0 : std::string::npos)
            << r.text << report;
        EXPECT_EQ(url.is_valid(), !*r.report) << r.text;
    }
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(Std_URL(std::string(100000, 'x').c_str()).is_valid());
    EXPECT_NE(::testing::internal::GetCapturedStderr(), "");
}

TEST(Std_URL, composed_with) {
    const struct {
        const char *base, *relative, *should;
    } rows[] = {
        {"http://h/d/f.scene", "g.rgb", "http://h:80/d/g.rgb"},
        {"http://h:99/f.scene", "g.rgb", "http://h:99/g.rgb"},
        {"d/f.scene", "g.rgb", "d/g.rgb"},
        {"f.scene", "g.rgb", "g.rgb"},
        {"/f.scene", "g.rgb", "g.rgb"},
        {"a/b", "/x", "a//x"},
        {"file:/d/e/f", "g", "file:/d/e/g"},
        {"d/f", "http://h/x", "http://h/x"},
        {"d/f", "file:/x", "file:/x"},
    };
    for (const auto& r : rows) {
        const Std_URL relative(r.relative);
        EXPECT_STREQ(Std_URL(r.base).composed_with(&relative)->get_url_string(), r.should);
    }
    ::testing::internal::CaptureStderr();
    const Std_URL invalid("C:x"), longest(std::string(31000, 'x').c_str());
    EXPECT_FALSE(Std_URL("d/f").composed_with(&invalid)->is_valid());
    EXPECT_FALSE(
        Std_URL((std::string(31000, 'd') + "/f").c_str()).composed_with(&longest)->is_valid());
    ::testing::internal::GetCapturedStderr();
}

TEST_F(Std_URL_test, print) {
    std::ostringstream out;
    put_file("c.rgb", "");
    Std_URL url("c.rgb");
    url.open();
    out << url << static_cast<const Std_URL*>(nullptr);
    EXPECT_EQ(out.str(), "URL {\n  url_string = c.rgb\n  protocol    = local\n  host        = \n"
                         "  port        = 0\n  path        = c.rgb\n  name        = c\n"
                         "  extension   = rgb\n  compression = \n FILE Open \n}\nNil\n");
}

TEST_F(Std_URL_test, local_documents) {
    const std::string text = "some text\n", hostile = "a b;$(touch x)'\".rgb";
    for (const char* name : {"plain.txt", "-n", "nö *?[a]&|<>`\\!#~\n.x"}) {
        put_file(name, text);
        EXPECT_EQ(contents(name), text) << name;
    }
    put_file(hostile, text);
    ASSERT_EQ(std::system("cp plain.txt c && gzip c && gzip -c plain.txt > 'it'\\''s.gz'"), 0);
    ASSERT_EQ(std::system("cp c.gz c.Z"), 0); // zcat takes either format
    put_file("packed.z", "\x1f\x1e\0\0\0\4\2\1\0ab\x85"s);
    const std::set<fs::path> before{fs::directory_iterator("."), {}};
    EXPECT_EQ(contents(hostile), text);
    EXPECT_EQ(contents("file:plain.txt"), text);
    EXPECT_EQ(contents("c.gz") + contents("c.Z") + contents("it's.gz"), text + text + text);
    EXPECT_EQ(contents("packed.z"), "abba");
    EXPECT_EQ(contents("missing") + contents("missing.gz"), "(closed)(closed)");
    EXPECT_EQ((std::set<fs::path>{fs::directory_iterator("."), {}}), before) << "something ran";

    ::testing::internal::CaptureStderr();
    std::string folders, path;
    for (int i = 0; i < 6; ++i) folders += std::string(100, 'd') + "/";
    fs::create_directories(folders);
    put_file(folders + "f", text);
    EXPECT_EQ(contents(folders + "f"), "(closed)");
    EXPECT_EQ(contents("ftp://h/p") + contents("file://h/p"), "(closed)(closed)");
    const std::string reports = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(reports.find("INFO   : Path too long: ddd"), 0u) << reports;
    EXPECT_NE(reports.find("WARNING: ftp_open not implemented in line"), std::string::npos);
}

TEST(Std_Shell, words) {
    const struct {
        const char *text, *word;
    } rows[] = {{"a/B-1_c.rgb.gz", "a/B-1_c.rgb.gz"},
                {"-", "-"},
                {"-n", "./-n"},
                {"- x", "./'- x'"},
                {"", "''"},
                {"it's", "'it'\\''s'"},
                {"$(x)", "'$(x)'"}};
    for (const auto& r : rows) EXPECT_STREQ(std_shell_word(r.text), r.word);
    EXPECT_STREQ(std_shell_argument("-n"), "-n");
}

// A server for one connection, in a process of its own: takes the request, sends the pieces, and
// closes. It answers only the very request that is expected.
class Server {
public:
    Server(const std::string& request, const std::vector<std::string>& pieces) {
        const int listener = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in name = {};
        socklen_t size = sizeof name;
        name.sin_family = AF_INET;
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(listener, reinterpret_cast<sockaddr*>(&name), size);
        listen(listener, 1);
        getsockname(listener, reinterpret_cast<sockaddr*>(&name), &size);
        port = ntohs(name.sin_port);
        child = fork();
        if (child == 0) {
            alarm(30);
            const int peer = accept(listener, nullptr, nullptr);
            std::string got(request.size(), '\0');
            if (recv(peer, got.data(), got.size(), MSG_WAITALL) > 0 && got == request)
                for (const auto& piece : pieces)
                    send(peer, piece.data(), piece.size(), MSG_NOSIGNAL);
            _exit(0);
        }
        close(listener);
    }
    ~Server() { waitpid(child, nullptr, 0); }
    std::string url(const std::string& path) const {
        return "http://127.0.0.1:" + std::to_string(port) + "/" + path;
    }
    int port;

private:
    pid_t child;
};

static std::string infos(const std::vector<std::string>& lines) {
    std::string text;
    for (const auto& line : lines) text += "INFO   : " + line + "\n";
    return text;
}

TEST_F(Std_URL_test, http_documents) {
    ASSERT_EQ(std::system("printf packed | gzip > p.gz"), 0);
    const std::string large(120000, 'x');
    const struct {
        const char* row;
        std::string path;
        std::vector<std::string> pieces;
        std::string should;
        std::size_t progress_reports;
    } rows[] = {
        {"plain", "a/b.txt", {"some text"}, "some text", 0},
        {"compressed", "p.gz", {file("p.gz")}, "packed", 0},
        {"over 51200 bytes", "l", {large}, large, 2},
        {"many small pieces", "s", std::vector<std::string>(500, "piece"), "", 0},
        {"closes at once", "n", {}, "", 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.row);
        const Server server("GET /" + r.path + "\n", r.pieces);
        ::testing::internal::CaptureStderr();
        Std_URL url(server.url(r.path).c_str());
        std::string should = r.should;
        if (should.empty())
            for (const auto& piece : r.pieces) should += piece;
        EXPECT_EQ(contents(url), should);
        const std::string reports = ::testing::internal::GetCapturedStderr();
        const std::string first =
            infos({"Connecting to host 127.0.0.1:" + std::to_string(server.port),
                   "Sending HTTP request for /" + r.path, "Waiting for response...",
                   "Beginning data transfert"});
        EXPECT_EQ(reports.substr(0, first.size()), first);
        std::size_t progress = 0;
        for (auto at = reports.find("Kbytes transferred"); at != std::string::npos;
             at = reports.find("Kbytes transferred", at + 1))
            ++progress;
        EXPECT_EQ(progress, r.progress_reports);
    }
}

TEST_F(Std_URL_test, http_failures) {
    int refused;
    {
        const Server server("GET /x\n", {});
        refused = server.port;
        contents(server.url("x"));
    }
    const std::string to_refused = "http://127.0.0.1:" + std::to_string(refused) + "/x";
    const struct {
        const char* row;
        std::string url, last_report;
    } rows[] = {
        {"refused", to_refused, "Unable to connect to host: Connection refused"},
        {"unknown host", "http://no.such.host.invalid/x", "Unable to get host address by name"},
        {"no such port", "http://127.0.0.1:65616/x", "Unable to connect to host: Invalid argument"},
        {"negative port", "http://127.0.0.1:-1/x", "Unable to connect to host: Invalid argument"},
    };
    for (const auto& r : rows) {
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(contents(r.url), "(closed)") << r.row;
        const std::string reports = ::testing::internal::GetCapturedStderr();
        const std::string last = infos({r.last_report});
        EXPECT_EQ(reports.find("INFO   : Connecting to host "), 0u) << r.row;
        EXPECT_EQ(reports.find(last), reports.size() - last.size()) << r.row << reports;
    }
    for (const std::string& path : {std::string(600, 'p'), "a\nGET /b"s}) {
        const Server server("GET", {"must not be asked"});
        EXPECT_EQ(contents(server.url(path)), "(closed)");
    }
    setenv("TMPDIR", "/no/such/folder", 1);
    const Server server("GET /x\n", {"text"});
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(contents(server.url("x")), "(closed)");
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("Unable to open local tmp file"),
              std::string::npos);
}
