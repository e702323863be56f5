#include "std/Std_URL.h"

#include <algorithm>
#include <set>

#include "std/Std_Common.h"
#include "std/Std_Shell.h"
#include "tests/Bits.h"
#include "tests/Http_Server.h"
#include "tests/Scratch_Folder.h"

namespace fs = std::filesystem;
using std::string_literals::operator""s;

class Std_URL_test : public Scratch_Folder_Test {
protected:
    Std_URL_test() { setenv("PATH", (NOLT_TOOLS_DIR ":"s + getenv("PATH")).c_str(), 1); }
};

static std::string contents(const std::string& name) {
    Std_URL url(name.c_str());
    std::string text;
    url.open();
    if (!url.is_open()) return "(closed)";
    char buffer[1000];
    while (const std::size_t got = std::fread(buffer, 1, sizeof buffer, url.get_file()))
        text.append(buffer, got);
    url.close();
    return text;
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
        const std::string reports = reports_of([&] {
            const Std_URL url(r.text);
            EXPECT_EQ(fields(url), r.should) << r.text;
            EXPECT_EQ(url.is_valid(), !*r.report) << r.text;
        });
        const std::string should = *r.report ? "WARNING: "s + r.report + " in line" : "";
        EXPECT_EQ(reports.substr(0, should.size()), should);
    }
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
    const std::string reports = reports_of([] {
        const std::string longest(31000, 'x');
        const Std_URL invalid("C:x"), name(longest.c_str()), folder((longest + "/f").c_str());
        EXPECT_FALSE(Std_URL("d/f").composed_with(&invalid)->is_valid());
        EXPECT_FALSE(folder.composed_with(&name)->is_valid());
        EXPECT_FALSE(Std_URL((longest + longest).c_str()).is_valid());
    });
    EXPECT_EQ(std::count(reports.begin(), reports.end(), '\n'), 4) << reports;
}

TEST_F(Std_URL_test, print) {
    put_file("c.rgb", "");
    Std_URL url("c.rgb");
    url.open();
    EXPECT_EQ(printed(url) + printed(static_cast<const Std_URL*>(nullptr)),
              "URL {\n  url_string = c.rgb\n  protocol    = local\n  host        = \n"
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

    std::string folders;
    for (int i = 0; i < 6; ++i) folders += std::string(100, 'd') + "/";
    fs::create_directories(folders);
    put_file(folders + "f", text);
    const std::string reports = reports_of([&] {
        EXPECT_EQ(contents(folders + "f"), "(closed)");
        EXPECT_EQ(contents("ftp://h/p") + contents("file://h/p"), "(closed)(closed)");
    });
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

TEST_F(Std_URL_test, http_documents) {
    ASSERT_EQ(std::system("printf packed | gzip > p.gz"), 0);
    // How much has come at a report is up to the network: digits are not compared.
    const std::string large(120000, 'x'), progress = "INFO   :  Kbytes transferred so far\n";
    const struct {
        std::string path;
        std::vector<std::string> pieces;
        std::string should, progress;
    } rows[] = {
        {"a/b.txt", {"some text"}, "some text", ""},
        {"p.gz", {file("p.gz")}, "packed", ""},
        {"large", {large}, large, progress + progress},
        {"many/small", std::vector<std::string>(500, "x"), std::string(500, 'x'), ""},
        {"closes.at.once", {}, "", ""},
    };
    for (const auto& r : rows) {
        const Http_Server server{{"GET /" + r.path + "\n", r.pieces}};
        const std::string host = server.host.substr(7, server.host.size() - 8);
        std::string reports =
            reports_of([&] { EXPECT_EQ(contents(server.host + r.path), r.should) << r.path; });
        EXPECT_EQ(reports.find("INFO   : Connecting to host " + host + "\n"), 0u) << reports;
        std::erase_if(reports, [](char c) { return c >= '0' && c <= '9'; });
        EXPECT_EQ(reports.substr(reports.find('\n') + 1),
                  "INFO   : Sending HTTP request for /" + r.path +
                      "\nINFO   : Waiting for response...\nINFO   : Beginning data transfert\n" +
                      r.progress + "INFO   : Data transfert completed.\n");
    }
}

TEST_F(Std_URL_test, http_failures) {
    std::string refused;
    {
        const Http_Server server{{"GET /x\n", {}}};
        refused = server.host + "x";
        reports_of([&] { contents(refused); });
    }
    const struct {
        std::string url, last;
    } rows[] = {
        {refused, "Unable to connect to host: Connection refused"},
        {"http://no.such.host.invalid/x", "Unable to get host address by name"},
        {"http://127.0.0.1:65616/x", "Unable to connect to host: Invalid argument"},
        {"http://127.0.0.1:-1/x", "Unable to connect to host: Invalid argument"},
    };
    for (const auto& r : rows) {
        const std::string reports =
            reports_of([&] { EXPECT_EQ(contents(r.url), "(closed)") << r.url; });
        EXPECT_EQ(reports.find("INFO   : Connecting to host "), 0u) << r.url;
        EXPECT_EQ(reports.substr(reports.find('\n') + 1), "INFO   : " + r.last + "\n") << r.url;
    }
    for (const std::string& path : {std::string(600, 'p'), "a\nGET /b"s}) {
        const Http_Server server{{"GET", {"must not be asked"}}};
        reports_of([&] { EXPECT_EQ(contents(server.host + path), "(closed)"); });
    }
    setenv("TMPDIR", "/no/such/folder", 1);
    const Http_Server server{{"GET /x\n", {"text"}}};
    const std::string reports =
        reports_of([&] { EXPECT_EQ(contents(server.host + "x"), "(closed)"); });
    EXPECT_NE(reports.find("Unable to open local tmp file"), std::string::npos);
}
