// The head of a reply, and the chunks of a body, beside another parser.
//
// Ours checks the grammar of each known header and keeps a copy of all names and values; the twin keeps nothing.
// With callbacks it tells where they lie, which the user then has to keep.

#include "kxbase/kxprotocol.h"

#include <benchmark/benchmark.h>
#include <http_parser.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr std::string_view kHead = "HTTP/1.1 200 OK\r\n"
                                   "Server: nginx/1.22.1\r\n"
                                   "Date: Tue, 14 May 2024 09:12:44 GMT\r\n"
                                   "Content-Type: text/html; charset=utf-8\r\n"
                                   "Content-Length: 48213\r\n"
                                   "Last-Modified: Mon, 13 May 2024 17:03:10 GMT\r\n"
                                   "Connection: keep-alive\r\n"
                                   "Vary: Accept-Encoding\r\n"
                                   "ETag: \"6642479e-bc55\"\r\n"
                                   "Expires: Tue, 14 May 2024 10:12:44 GMT\r\n"
                                   "Cache-Control: max-age=3600\r\n"
                                   "Strict-Transport-Security: max-age=31536000; includeSubDomains\r\n"
                                   "X-Content-Type-Options: nosniff\r\n"
                                   "Accept-Ranges: bytes\r\n"
                                   "\r\n";

const std::uint8_t* bytesOf(std::string_view text)
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

void httpHead(benchmark::State& state)
{
    kxHttpMessageParser parser;
    for (auto _ : state) {
        parser.reset();
        benchmark::DoNotOptimize(parser.feed(bytesOf(kHead), kHead.size()));
    }
    if (parser.state() != KX_HTTP_COMPLETE) state.SkipWithError("not parsed");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kHead.size()));
}
BENCHMARK(httpHead);

// What a parser costs that is made for one message.
void httpHeadOnce(benchmark::State& state)
{
    for (auto _ : state) {
        kxHttpMessageParser parser;
        benchmark::DoNotOptimize(parser.feed(bytesOf(kHead), kHead.size()));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kHead.size()));
}
BENCHMARK(httpHeadOnce);

void parseByTwin(benchmark::State& state, const http_parser_settings& settings, void* user)
{
    http_parser parser;
    parser.data = user;
    for (auto _ : state) {
        http_parser_init(&parser, HTTP_RESPONSE);
        benchmark::DoNotOptimize(http_parser_execute(&parser, &settings, kHead.data(), kHead.size()));
    }
    if (parser.status_code != 200) state.SkipWithError("not parsed");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kHead.size()));
}

void httpHeadTwin(benchmark::State& state)
{
    http_parser_settings settings;
    http_parser_settings_init(&settings);
    parseByTwin(state, settings, nullptr);
}
BENCHMARK(httpHeadTwin);

// Names and values kept one after the other in a block, which takes account of pieces.
struct Kept {
    std::string block;
    std::vector<std::size_t> ends;
    bool isValue = true;

    int add(const char* at, std::size_t length, bool isNextValue)
    {
        if (isValue != isNextValue) ends.push_back(block.size());
        isValue = isNextValue;
        block.append(at, length);
        return 0;
    }
};

void httpHeadTwinKept(benchmark::State& state)
{
    Kept kept;
    http_parser_settings settings;
    http_parser_settings_init(&settings);
    settings.on_message_begin = [](http_parser* parser) {
        auto* const headers = static_cast<Kept*>(parser->data);
        headers->block.clear();
        headers->ends.clear();
        headers->isValue = true;
        return 0;
    };
    settings.on_header_field = [](http_parser* parser, const char* at, std::size_t length) {
        return static_cast<Kept*>(parser->data)->add(at, length, false);
    };
    settings.on_header_value = [](http_parser* parser, const char* at, std::size_t length) {
        return static_cast<Kept*>(parser->data)->add(at, length, true);
    };
    parseByTwin(state, settings, &kept);
    if (kept.ends.size() != 26) state.SkipWithError("not kept");
}
BENCHMARK(httpHeadTwinKept);

std::string chunks(std::int64_t sizeBytes)
{
    char line[20];
    std::snprintf(line, sizeof line, "%llx\r\n", static_cast<unsigned long long>(sizeBytes));
    std::string all;
    while (all.size() < 1000000)
        all.append(line).append(static_cast<std::size_t>(sizeBytes), 'x').append("\r\n");
    return all;
}

constexpr std::string_view kChunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

// The body is put into a block of the caller's, by chunks of so many bytes.
void httpChunks(benchmark::State& state)
{
    const std::string input = chunks(state.range(0));
    std::string output(input.size(), '\0');
    kxHttpMessageParser parser;
    parser.feed(bytesOf(kChunkedHead), kChunkedHead.size());
    kxHttpBody body;
    for (auto _ : state) {
        body.start(parser.message(), "GET");
        benchmark::DoNotOptimize(body.decode(bytesOf(input), input.size(),
                                             reinterpret_cast<std::uint8_t*>(output.data()), output.size()));
    }
    if (body.hasFailed()) state.SkipWithError("not decoded");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(input.size()));
}
BENCHMARK(httpChunks)->Arg(16)->Arg(1000)->Arg(16384);

void httpChunksTwin(benchmark::State& state)
{
    const std::string input = chunks(state.range(0));
    std::string output;
    output.reserve(input.size());
    http_parser_settings settings;
    http_parser_settings_init(&settings);
    settings.on_body = [](http_parser* parser, const char* at, std::size_t length) {
        static_cast<std::string*>(parser->data)->append(at, length);
        return 0;
    };
    http_parser parser;
    parser.data = &output;
    for (auto _ : state) {
        output.clear();
        http_parser_init(&parser, HTTP_RESPONSE);
        http_parser_execute(&parser, &settings, kChunkedHead.data(), kChunkedHead.size());
        benchmark::DoNotOptimize(http_parser_execute(&parser, &settings, input.data(), input.size()));
    }
    if (parser.http_errno != HPE_OK) state.SkipWithError("not decoded");
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(input.size()));
}
BENCHMARK(httpChunksTwin)->Arg(16)->Arg(1000)->Arg(16384);

}  // namespace
