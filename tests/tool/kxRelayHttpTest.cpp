// The program between a web server or proxy of the distribution and a file.

#include "support/kxTestServer.h"
#include "support/kxTestTool.h"

#include <filesystem>
#include <fstream>

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

const std::pair<const std::string, std::string> kCheck{"KORVEX_MEMORY_CHECK", "yes"};

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

    // Lets the tool fetch a URL into the file "copy", in front of which it leaves its notice.
    using Environment = std::map<std::string, std::string>;
    std::size_t download(const std::string& url, const Environment& environment)
    {
        const std::string copy = folder.write("copy", "");
        const kxProcessOptions options{kxArgumentsOf(url, "file:" + copy), environment};
        kxProcess tool(KX_TEST_TOOL, options);
        EXPECT_EQ(tool.wait(), kxExited(0));
        if (environment.contains(kCheck.first)) kxExpectNothingLost(tool.output());
        return kxNoticeOf(url, "file:" + copy).size();
    }
    std::string fetch(const std::string& url, const Environment& environment = {})
    {
        const std::size_t noticeBytes = download(url, environment);
        return folder.read("copy").substr(noticeBytes);
    }
    bool deliversFile(const char* name, const std::string& url, const Environment& environment = {})
    {
        const std::string skipped = "0:" + std::to_string(download(url, environment));
        kxProcess comparison("/usr/bin/cmp", {{"-i", skipped, folder.path(name), folder.path("copy")}});
        return comparison.wait() == kxExited(0);
    }

    const kxTempDirectory folder;
    const std::string medium = folder.write("medium", kxTestPattern(3000000));
    int settingsCount = 0;
};

}  // namespace

TEST_F(kxRelayHttp, FetchesFromAWebServer)
{
    const std::string megabyte = kxTestPattern(1000003);
    std::ofstream large(folder.path("large"), std::ios::binary);
    for (int count = 0; count < 100; ++count) large << megabyte;
    large.close();
    folder.write("none", "");
    const auto nginx = startNginx();
    const std::string url = "http:" + nginx->place();
    EXPECT_TRUE(deliversFile("medium", url + "/medium?no_proxy=yes&nic=lo"));
    EXPECT_TRUE(deliversFile("medium", url + "/close/medium", {kCheck}));
    EXPECT_TRUE(deliversFile("large", url + "/large"));
    EXPECT_TRUE(deliversFile("large", url + "/chunked/large", {kCheck}));
    for (const char* path : {"/none", "/empty", "/same"}) EXPECT_EQ(fetch(url + path, {kCheck}), "");
    EXPECT_EQ(fetch(url + "/gone", {kCheck}), "nothing here");
    EXPECT_NE(fetch(url + "/moved").find("301 Moved Permanently"), std::string::npos);
}

TEST_F(kxRelayHttp, FetchesThroughAProxy)
{
    const auto nginx = startNginx();
    const auto proxy = start("/usr/bin/tinyproxy", kProxySettings, {"-d", "-c"});
    const std::string url = "http:" + nginx->place() + "/medium";
    const char* const variable = "KORVEX_HTTP_PROXY";
    EXPECT_TRUE(deliversFile("medium", url + "?no_proxy", {{variable, proxy->place()}}));
    EXPECT_TRUE(deliversFile("medium", url + "?proxy=no.proxy.invalid", {{variable, proxy->place()}}));
    EXPECT_EQ(folder.read("log").find(nginx->place()), std::string::npos) << "not so far";
    EXPECT_TRUE(deliversFile("medium", url + "?proxy=" + proxy->place(), {{variable, "127.0.0.1:1"}}));
    EXPECT_NE(folder.read("log").find(nginx->place()), std::string::npos);
    // A server that is not there: the page is the proxy's.
    const std::string page =
        fetch("http:127.0.0.1:1/", {kCheck, {variable, "http://me:pw@" + proxy->place() + "/"}});
    EXPECT_NE(page.find("tinyproxy"), std::string::npos);
}

TEST_F(kxRelayHttp, FetchesFromAServerThatClosesAfterwards)
{
    const kxTestServer server("/usr/bin/env", [&](const std::string& port) {
        // It takes the whole URI of a request for a path.
        const std::string place = folder.path("http:/127.0.0.1:" + port);
        std::filesystem::create_directories(place);
        std::filesystem::copy(medium, place + "/medium");
        return std::vector<std::string>{"python3", "-m",        "http.server", port,
                                        "-b",      "127.0.0.1", "-d",          folder.path()};
    });
    EXPECT_TRUE(deliversFile("medium", "http:" + server.place() + "/medium"));
    EXPECT_NE(fetch("http:" + server.place() + "/none").find("Error code: 404"), std::string::npos);
}
