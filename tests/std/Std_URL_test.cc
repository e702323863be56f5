#include "std/Std_URL.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>

#include "std/Std_Common.h"
#include "std/Std_Limits.h"
#include "tests/Http_Server.h"
#include "tests/Scratch_Folder.h"

namespace fs = std::filesystem;
using std::string_literals::operator""s;

class Std_URL_test : public Scratch_Folder_Test {
protected:
    Std_URL_test() { set_path(NOLT_TOOLS_DIR ":"s + path); }
    ~Std_URL_test() override {
        set_path(path);
        std_limits = Std_Limits();
    }
    static void set_path(const std::string& folders) { setenv("PATH", folders.c_str(), 1); }
    const std::string path = getenv("PATH");
};

static std::string contents(const std::string& name, bool is_stream = false) {
    Std_URL url(name.c_str());
    std::string text;
    url.open();
    if (!url.is_open()) return "(closed)";
    EXPECT_GT(fileno(url.get_file()), 2);
    EXPECT_TRUE(fs::is_empty("tmp")) << "a file would stay if the process were killed now";
    char buffer[1000];
    while (const std::size_t got = is_stream && text.empty() ? fread(buffer, 1, 5, url.get_file())
                                                             : url.read(buffer, sizeof buffer))
        text.append(buffer, got);
    url.close();
    return text;
}

// Of a call, the lines of the library alone.
template<class Call>
static std::string information_of(Call call) {
    std::istringstream all(reports_of(call));
    std::string line, told;
    while (std::getline(all, line))
        if (line.starts_with("INFO   : ")) told += line.substr(9) + "\n";
    return told;
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
        {"https://h/x", "https|h|443|x|x||", ""},
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
    std::set<std::string> places;
    for (const auto& r : rows) {
        const std::string reports = reports_of([&] {
            const Std_URL url(r.text);
            EXPECT_EQ(fields(url), r.should) << r.text;
            EXPECT_EQ(url.is_valid(), !*r.report) << r.text;
        });
        const std::string should = *r.report ? "WARNING: "s + r.report + " in line" : "";
        EXPECT_EQ(reports.substr(0, should.size()), should);
        places.insert(reports.substr(should.size()));
    }
    EXPECT_EQ(places.size(), 4u) << "each warning has its line, and there may be none";
}

TEST(Std_URL, composed_with) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"http://h/d/f.scene", "g.rgb", "http://h:80/d/g.rgb"},
        {"https://h/f.scene", "g.rgb", "https://h:443/g.rgb"},
        {"d/f.scene", "g.rgb", "d/g.rgb"},
        {"f.scene", "g.rgb", "g.rgb"},
        {"/f.scene", "g.rgb", "g.rgb"},
        {"a/b", "/x", "a//x"},
        {"file:/d/e/f", "g", "file:/d/e/g"},
        {"d/f", "http://h/x", "http://h/x"},
        {"d/f", "file:/x", "file:/x"},
    };
    for (const auto& [base, from_there, should] : rows) {
        const Std_URL relative(from_there);
        EXPECT_STREQ(Std_URL(base).composed_with(&relative)->get_url_string(), should);
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
    ASSERT_EQ(std::system("cp c.gz c.Z; cp c.gz c.wrl"), 0); // zcat takes either format
    put_file("packed.z", "\x1f\x1e\0\0\0\4\2\1\0ab\x85"s);
    const std::set<fs::path> before{fs::directory_iterator("."), {}};
    EXPECT_EQ(contents(hostile), text);
    EXPECT_EQ(contents("file:plain.txt"), text);
    EXPECT_EQ(contents("c.gz") + contents("c.Z") + contents("it's.gz") + contents("c.wrl"),
              text + text + text + text);
    EXPECT_EQ(contents("packed.z"), "abba");
    EXPECT_EQ(contents("missing") + contents("missing.gz"), "(closed)(closed)");
    EXPECT_EQ((std::set<fs::path>{fs::directory_iterator("."), {}}), before) << "something ran";

    std::string folders;
    for (int i = 0; i < 6; ++i) folders += std::string(100, 'd') + "/";
    fs::create_directories(folders);
    ASSERT_EQ(std::system(("cp plain.txt c.gz " + folders).c_str()), 0);
    EXPECT_EQ(contents(folders + "plain.txt") + contents(folders + "c.gz", true), text + text);
    const std::string reports = reports_of(
        [] { EXPECT_EQ(contents("ftp://h/p") + contents("file://h/p"), "(closed)(closed)"); });
    EXPECT_EQ(reports.find("WARNING: ftp_open not implemented in line"), 0u) << reports;
}

// Whatever is behind a name: only plain files are read, and nothing waits.
TEST_F(Std_URL_test, what_is_no_plain_file) {
    const auto link_to = [](int descriptor) {
        return "/proc/self/fd/" + std::to_string(descriptor);
    };
    int ends[2];
    put_file("plain.txt", "text");
    ASSERT_TRUE(pipe(ends) == 0 && mkfifo("fifo", 0600) == 0 && mkfifo("fifo.gz", 0600) == 0);
    const int plain = open("plain.txt", O_RDONLY), input = dup(STDIN_FILENO);
    const std::string told = information_of([&] {
        for (const std::string& name : {"tmp"s, "fifo"s, "fifo.gz"s, "/dev/zero"s,
                                        "/proc/self/pagemap"s, link_to(ends[0]), "/dev/fd/99"s})
            EXPECT_EQ(contents(name), "(closed)") << name;
        EXPECT_EQ(contents(link_to(plain)), "text");
        dup2(ends[0], STDIN_FILENO);
        EXPECT_EQ(write(ends[1], "input", 5), 5);
        for (int end : ends) close(end);
        EXPECT_EQ(contents("-"), "input");
        close(STDIN_FILENO);
        EXPECT_EQ(open("tmp", O_RDONLY), STDIN_FILENO);
        EXPECT_EQ(contents("-"), "(closed)") << "a folder";
        close(STDIN_FILENO); // and nothing takes its number
        EXPECT_EQ(contents("-") + contents("plain.txt"), "(closed)text");
    });
    EXPECT_EQ(told, "");
    dup2(input, STDIN_FILENO);
    close(input);
    close(plain);
}

TEST_F(Std_URL_test, packed_documents_that_are_not_whole) {
    const std::string large(5000, 'x'), bin = home / "bin";
    put_file("x", large);
    ASSERT_EQ(std::system("gzip < x > x.gz; head -c -5 x.gz > cut.gz; (cat x.gz; echo x) > more.gz;"
                          "mkdir bin bad; cp x.gz f.Z; cp x.gz k.z; cp x no.gz"),
              0);
    put_file("bin/zcat", "#!/bin/sh\nprintf half\nexit 3\n");
    put_file("bin/pcat", "#!/bin/sh\nkill -9 $$\n");
    put_file("bad/gunzip", "(\n"); // nothing but a shell runs it
    ASSERT_EQ(chmod("bin/zcat", 0700) + chmod("bin/pcat", 0700) + chmod("bad/gunzip", 0700), 0);
    const std::string failed = "Error - cannot be unpacked (";
    const struct {
        std::string path, name, should, report;
        long long limit;
    } rows[] = {
        {path, "x.gz", large, "", 5000},
        {path, "more.gz", large, "", 5000},
        {path, "cut.gz", large, failed + "gunzip ended with status 1): cut.gz\n", 5000},
        {path, "no.gz", "", failed + "gunzip ended with status 1): no.gz\n", 5000},
        {bin, "x.gz", "", "Error - command not found (gunzip): x.gz\n", 5000},
        {bin, "f.Z", "half", failed + "zcat ended with status 3): f.Z\n", 5000},
        {bin, "k.z", "", failed + "pcat ended with status 137): k.z\n", 5000},
        {home / "bad", "x.gz", "", failed + "gunzip ended with status 2): x.gz\n", 5000},
        {path, "x", large.substr(1), "Error - ends here (it is longer than the limit): x\n", 4999},
        {path, "x.gz", large.substr(1),
         "Error - ends here (it unpacks to more than the limit): x.gz\n", 4999},
    };
    for (const auto handler : {SIG_DFL, SIG_IGN})
        for (const auto& r : rows) {
            set_path(r.path);
            std_limits.unpacked_bytes = std_limits.local_bytes = r.limit;
            std_limits.unpacked_ratio = 1;
            const auto before = signal(SIGCHLD, handler);
            const std::string told =
                information_of([&] { EXPECT_EQ(contents(r.name), r.should) << r.name; });
            EXPECT_EQ(told, r.report) << r.name;
            signal(SIGCHLD, before);
        }
}

// The first page of no process can be read.
TEST_F(Std_URL_test, a_document_that_cannot_be_read) {
    const int input = dup(STDIN_FILENO), memory = open("/proc/self/mem", O_RDONLY);
    dup2(memory, STDIN_FILENO);
    const std::string told = information_of([] {
        EXPECT_EQ(contents("-"), "");
        Std_URL url("-");
        url.open();
        EXPECT_EQ(std::fgetc(url.get_file()), EOF);
        url.close();
    });
    dup2(input, STDIN_FILENO);
    for (int descriptor : {input, memory}) close(descriptor);
    EXPECT_EQ(told, "Error - cannot be read (Input/output error): -\n"
                    "Error - cannot be read (input error): -\n");
}

// One that comes behind some bytes is no failure, whatever the error number is when the end comes.
TEST_F(Std_URL_test, a_signal_while_a_document_comes) {
    static int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int input = dup(STDIN_FILENO);
    dup2(ends[0], STDIN_FILENO);
    ASSERT_EQ(write(ends[1], "text", 4), 4);
    struct sigaction ending = {}, before;
    ending.sa_handler = [](int) { close(ends[1]); };
    sigaction(SIGALRM, &ending, &before);
    EXPECT_EQ(information_of([] {
                  Std_URL url("-");
                  char bytes[10000];
                  url.open();
                  ualarm(20000, 0);
                  EXPECT_EQ(url.read(bytes, sizeof bytes), 4u);
                  errno = ENOENT;
                  EXPECT_EQ(url.read(bytes, sizeof bytes), 0u);
                  url.close();
              }),
              "");
    sigaction(SIGALRM, &before, nullptr);
    dup2(input, STDIN_FILENO);
    for (int descriptor : {input, ends[0]}) close(descriptor);
}

// Who has read enough closes; the command ends, also under a program that ignores its signals.
TEST_F(Std_URL_test, packed_documents_that_are_not_read_to_the_end) {
    put_file("zcat", "#!/bin/sh\nwhile :; do echo x; done\n");
    put_file("x.Z", "");
    ASSERT_EQ(chmod("zcat", 0700), 0);
    set_path(home);
    const auto before = signal(SIGPIPE, SIG_IGN);
    EXPECT_EQ(information_of([] {
                  Std_URL url("x.Z");
                  char byte;
                  url.open();
                  EXPECT_EQ(url.read(&byte, 1), 1u);
                  url.close();
              }),
              "");
    signal(SIGPIPE, before);
}

TEST_F(Std_URL_test, http_documents) {
    ASSERT_EQ(std::system("printf packed | gzip > p.gz"), 0);
    const std::string longer(600, 'p'), large(120000, 'x');
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"p.gz", file("p.gz"), "packed"}, {longer, large, large}};
    for (const auto& [document, answer, should] : rows) {
        const Http_Server server{{"GET /" + document + "\n", {answer}}};
        std::string text;
        const std::string told =
            reports_of([&, url = server.host + document] { text = contents(url); });
        EXPECT_EQ(text, should);
        EXPECT_TRUE(told.ends_with("INFO   : Data transfert completed.\n")) << told;
    }
}
