// Servers that speak the protocol of today, and an encrypted one with a certificate of its own.
#include "std/Std_Curl.h"

#include <csignal>
#include <fcntl.h>
#include <spawn.h>

#include "std/Std_Limits.h"
#include "std/Std_URL.h"
#include "tests/Http_Server.h"
#include "tests/Scratch_Folder.h"

class Std_Curl : public Scratch_Folder_Test {
protected:
    void SetUp() override {
        for (const char* command : {"curl", "openssl"})
            if (!Std_Filter::can_run(command)) GTEST_SKIP() << command << " is not there";
    }
    ~Std_Curl() override { std_limits = Std_Limits(); }

    // The document, or what an open told last.
    static std::string contents(const std::string& name) {
        Std_URL url(name.c_str());
        std::string text(1000, '\0');
        const std::string told = reports_of([&] { url.open(); });
        if (!url.is_open()) {
            const std::size_t line = told.rfind("INFO   : ");
            return line == told.npos ? told : told.substr(line + 9, told.rfind(": ") - line - 9);
        }
        text.resize(url.read(text.data(), text.size()));
        url.close();
        return url.is_whole() ? text : text + " ...";
    }
};

TEST_F(Std_Curl, servers_of_today) {
    const std::string good = "HTTP/1.1 200 OK\r\n", length = "Content-Length: ",
                      moved = "HTTP/1.1 301 Moved\r\nContent-Length: 0\r\nLocation: ";
    const std::tuple<const char*, std::vector<std::string>, std::string> rows[] = {
        {"x", {good + length + "4\r\n\r\ntext"}, "text"},
        {"a b#c", {good + length + "4\r\n\r\ntext"}, "text"},
        {"x", {"HTTP/1.1 404 Not Found\r\n\r\nsorry"}, "Error - curl ended with status 22"},
        {"x", {moved + "/y\r\n\r\n", good + length + "4\r\n\r\ntext"}, "text"},
        {"x", {moved + "file:///etc/passwd\r\n\r\n"}, "Error - curl ended with status 1"},
        {"x", {good + length + "9\r\n\r\ntext"}, "text ..."},
        {"x", {good + length + "999\r\n\r\n"}, "Error - curl ended with status 63"},
        {"x", {good + "\r\n" + std::string(101, 'x')}, std::string(100, 'x') + " ..."},
    };
    std_limits.http_bytes = 100;
    for (const auto& [path, answers, should] : rows) {
        const std::string refused = "HTTP/1.1 400 Bad Request\r\n\r\n";
        const std::string asked = path == std::string("x") ? "x" : "a%20b%23c";
        std::vector<Http_Server::Exchange> exchanges = {
            {"GET /" + std::string(path) + "\n", {refused}},
            {"GET /" + asked + " HTTP/1.1\r\n", {answers[0]}}};
        if (answers.size() > 1) exchanges.push_back({"GET /y HTTP/1.1\r\n", {answers[1]}});
        const Http_Server server(exchanges);
        EXPECT_EQ(contents(server.host + path), should);
    }
    // Without the command, what came is the document.
    const std::string path = std::getenv("PATH"), refused = "HTTP/1.1 400 Bad\r\n\r\n";
    setenv("PATH", home.c_str(), 1);
    const Http_Server server({{"GET /x\n", {refused}}});
    EXPECT_EQ(contents(server.host + "x"), refused);
    EXPECT_EQ(contents("https://127.0.0.1/x"), "Error - command not found (curl)");
    setenv("PATH", path.c_str(), 1);
}

TEST_F(Std_Curl, encrypted) {
    ASSERT_EQ(std::system("openssl req -x509 -newkey rsa:2048 -nodes -subj /CN=localhost -addext "
                          "subjectAltName=IP:127.0.0.1 -days 2 -keyout key -out certificate "
                          ">log 2>&1"),
              0)
        << file("log");
    put_file("x", "text");
    // Takes a port that is free, and tells it.
    pid_t server;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "log", O_WRONLY | O_TRUNC | O_CREAT, 0600);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    const char* const arguments[] = {"openssl", "s_server", "-accept", "127.0.0.1:0", "-WWW",
                                     "-key",    "key",      "-cert",   "certificate", nullptr};
    ASSERT_EQ(posix_spawnp(&server, "openssl", &actions, nullptr,
                           const_cast<char* const*>(arguments), environ),
              0);
    posix_spawn_file_actions_destroy(&actions);
    std::string log;
    for (int i = 0; i < 1000 && !holds(log, "ACCEPT 127.0.0.1:"); ++i) {
        usleep(10000);
        log = file("log");
    }
    const std::size_t at = log.find("127.0.0.1:");
    ASSERT_NE(at, log.npos) << log;
    const std::string url = "https://" + log.substr(at, log.find('\n', at) - at) + "/x";
    EXPECT_EQ(contents(url), "Error - curl ended with status 60") << "nobody trusts it";
    setenv("CURL_CA_BUNDLE", (home / "certificate").c_str(), 1);
    EXPECT_EQ(contents(url), "text");
    unsetenv("CURL_CA_BUNDLE");
    kill(server, SIGKILL);
    waitpid(server, nullptr, 0);
}
