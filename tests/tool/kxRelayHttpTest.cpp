// The program between a web server or proxy of the distribution and a file.

#include "support/kxTempDirectory.h"
#include "support/kxTestPattern.h"
#include "support/kxTestServer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace {

constexpr const char* kNginxSettings =
    R"(daemon off; master_process off; error_log stderr; pid FOLDER/pid; events {}
http {
    access_log off; root FOLDER; types {}
    client_body_temp_path FOLDER/t1; proxy_temp_path FOLDER/t2; fastcgi_temp_path FOLDER/t3;
    uwsgi_temp_path FOLDER/t4; scgi_temp_path FOLDER/t5;
    server {
        listen 127.0.0.1:PORT;
        location /chunked/ { alias FOLDER/; ssi on; ssi_types *; }
        location /close/ { alias FOLDER/; keepalive_timeout 0; }
        location /empty { return 204; }    location /same { return 304; }
        location /moved { return 301 /s; } location /gone { return 404 "nothing here"; }
    }
})";
constexpr const char* kProxySettings = "Port PORT\nListen 127.0.0.1\nTimeout 60\nLogFile \"FOLDER/log\"\n";

std::string filled(std::string text, std::string_view name, std::string_view value)
{
    for (auto at = text.find(name); at != std::string::npos; at = text.find(name, at + value.size()))
        text.replace(at, name.size(), value);
    return text;
}

class kxRelayHttp : public testing::Test {
protected:
    // Starts a program with a file of settings of its own.
    std::unique_ptr<kxTestServer> start(const char* program, const char* settings,
                                        const std::vector<std::string>& arguments)
    {
        return std::make_unique<kxTestServer>(program, [&](const std::string& port) {
            std::vector<std::string> all = arguments;
            all.push_back(folder.write("settings" + std::to_string(++settingsCount),
                                       filled(filled(settings, "FOLDER", folder.path()), "PORT", port)));
            return all;
        });
    }
    std::unique_ptr<kxTestServer> startNginx()
    {
        return start("/usr/sbin/nginx", kNginxSettings, {"-e", "stderr", "-p", folder.path(), "-c"});
    }
    std::unique_ptr<kxTestServer> startProxy()
    {
        return start("/usr/bin/tinyproxy", kProxySettings, {"-d", "-c"});
    }

    // Lets the tool fetch a URL into the file "copy"; answers how long the notice in front of it is.
    std::size_t download(const std::string& url, const std::map<std::string, std::string>& environment = {})
    {
        const std::string copy = folder.write("copy", "");
        kxProcessOptions options{.arguments = {"-URL", url, "-output", "file:" + copy},
                                 .environment = environment};
        EXPECT_EQ(kxProcess(KX_TEST_TOOL, options).wait(), kxExited(0));
        return std::string("Opened URL '" + url + "' with output 'file:" + copy + "'\r\n").size();
    }
    std::string fetch(const std::string& url, const std::map<std::string, std::string>& environment = {})
    {
        const std::size_t noticeBytes = download(url, environment);
        return folder.read("copy").substr(noticeBytes);
    }

    const kxTempDirectory folder;
    const std::string small = folder.write("small", "a small file\n");
    int settingsCount = 0;
};

}  // namespace

TEST_F(kxRelayHttp, FetchesFromAWebServer)
{
    const std::string medium = kxTestPattern(3000000);
    folder.write("medium", medium);
    folder.write("none", "");
    const auto nginx = startNginx();
    const struct {
        const char* path;
        std::string expected;
    } cases[] = {{"/small", "a small file\n"},
                 {"/medium", medium},
                 {"/none", ""},
                 {"/chunked/medium", medium},
                 {"/close/medium", medium},
                 {"/empty", ""},
                 {"/same", ""},
                 {"/gone", "nothing here"},
                 {"/small?no_proxy=yes&nic=lo", "a small file\n"}};
    for (const auto& c : cases) EXPECT_TRUE(fetch("http:" + nginx->place() + c.path) == c.expected) << c.path;
    EXPECT_NE(fetch("http://" + nginx->place() + "/moved").find("301 Moved Permanently"), std::string::npos);
}

TEST_F(kxRelayHttp, FetchesThroughAProxy)
{
    const std::string medium = kxTestPattern(3000000);
    folder.write("medium", medium);
    const auto nginx = startNginx();
    const auto proxy = startProxy();
    const std::string url = "http:" + nginx->place() + "/medium";
    EXPECT_TRUE(fetch(url + "?proxy=" + proxy->place()) == medium);
    EXPECT_TRUE(fetch(url, {{"KORVEX_HTTP_PROXY", "http://" + proxy->place() + "/"}}) == medium);
    const std::string log = folder.read("log");
    EXPECT_NE(log.find(nginx->place()), std::string::npos) << log;
    EXPECT_NE(fetch("http:127.0.0.1:1/?proxy=" + proxy->place()).find("<html"), std::string::npos)
        << "its own page";
}

TEST_F(kxRelayHttp, FetchesFromAServerThatClosesAfterwards)
{
    std::string place;
    const kxTestServer server("/usr/bin/env", [&](const std::string& port) {
        // It takes the whole URI of a request for a path.
        place = "http:/127.0.0.1:" + port;
        std::filesystem::create_directories(folder.path(place));
        folder.write(place + "/small", "a small file\n");
        return std::vector<std::string>{"python3", "-m",        "http.server", port,
                                        "--bind",  "127.0.0.1", "--directory", folder.path()};
    });
    EXPECT_EQ(fetch("http:" + server.place() + "/small"), "a small file\n");
    EXPECT_NE(fetch("http:" + server.place() + "/none").find("Error code: 404"), std::string::npos);
}

TEST_F(kxRelayHttp, TakesAStreamingServersReply)
{
    kxTestSocket listener = kxTestSocket::listener();
    std::thread server([&] {
        kxTestSocket peer = listener.accept();
        peer.receive();
        peer.send("RTSP/1.0 200 OK\r\nCSeq: 1\r\nContent-Type: application/sdp\r\nContent-Length: "
                  "5\r\n\r\nv=0\r\n");
        peer.receive();  // until the tool has gone
    });
    EXPECT_EQ(fetch("http:" + listener.url("") + "/stream"), "v=0\r\n");
    server.join();
}

TEST_F(kxRelayHttp, FetchesAHundredMegabytesWithoutAFault)
{
    const std::string piece = kxTestPattern(1000003);
    {
        std::ofstream file(folder.path("large"), std::ios::binary);
        for (int count = 0; count < 100; ++count) file << piece;
    }
    const auto nginx = startNginx();
    for (const char* path : {"/large", "/chunked/large"}) {
        const std::string skipped = "0:" + std::to_string(download("http:" + nginx->place() + path));
        kxProcess comparison("/usr/bin/cmp",
                             {.arguments = {"-i", skipped, folder.path("large"), folder.path("copy")}});
        EXPECT_EQ(comparison.wait(), kxExited(0)) << path;
    }
}
