#include <tools/view/HttpError.hpp>
#include <tools/view/request_head.hpp>

#include <gmock/gmock.h>

#include <string>

namespace logging2::tools::view {
namespace {

/// The status with which the head is refused; 200 if it is not.
int status_of(const std::string& head) {
    try {
        checked_head(head);
        return 200;
    } catch (const HttpError& error) {
        return error.status();
    }
}

int status_of_line(const std::string& line) {
    return status_of(line + "\r\nHost: x\r\n\r\n");
}

int status_of_header(const std::string& header) {
    return status_of("GET / HTTP/1.1\r\nHost: x\r\n" + header + "\r\n\r\n");
}

TEST(RequestHeadTest, headEndsWithAnEmptyLine) {
    EXPECT_EQ(head_byte_count("GET / HTTP/1.1\r\nHost: x\r\n\r\nGET"), 27U);
    EXPECT_EQ(head_byte_count("GET / HTTP/1.1\r\nHost: x\r\n\r"), std::nullopt);
    EXPECT_EQ(head_byte_count(""), std::nullopt);
    EXPECT_EQ(head_byte_count("GET / HTTP/1.1\n\n"), std::nullopt);
}

TEST(RequestHeadTest, plainHeadStaysAsItIs) {
    const std::string head = "GET /api/runs?a=b HTTP/1.1\r\nHost: x\r\nCookie: a=b; c=d\r\n\r\n";
    EXPECT_EQ(checked_head(head), head);
}

TEST(RequestHeadTest, whatIsNotSupportedIsLeftOut) {
    EXPECT_EQ(checked_head("GET / HTTP/1.1\r\nRange: bytes=0-1,2-3\r\nAccept-Encoding: gzip\r\n"
                           "EXPECT: 100-continue\r\nIf-Range: x\r\nHost: x\r\n\r\n"),
              "GET / HTTP/1.1\r\nHost: x\r\n\r\n");
}

TEST(RequestHeadTest, onlyGetIsAllowed) {
    EXPECT_EQ(status_of_line("GET / HTTP/1.1"), 200);
    for (const char* const method : {"HEAD", "POST", "PUT", "DELETE", "PATCH", "OPTIONS", "TRACE",
                                     "CONNECT", "PRI", "get", "X"}) {
        EXPECT_EQ(status_of_line(std::string(method) + " / HTTP/1.1"), 405) << method;
    }
}

TEST(RequestHeadTest, malformedRequestLineIsRefused) {
    for (const char* const line :
         {"", " ", "GET", "GET /", "GET  / HTTP/1.1", "GET / HTTP/1.1 x", "GET /\x01 HTTP/1.1",
          "GET /\xc3\xa4 HTTP/1.1", "G\tT / HTTP/1.1", " / HTTP/1.1", "GET /?a=b?c=d HTTP/1.1",
          "GET /\rX HTTP/1.1", "GET /\nX HTTP/1.1"}) {
        EXPECT_EQ(status_of_line(line), 400) << line;
    }
}

TEST(RequestHeadTest, otherVersionsAreRefused) {
    for (const char* const version : {"HTTP/1.0", "HTTP/2", "HTTP/0.9", "http/1.1", "X"}) {
        EXPECT_EQ(status_of_line(std::string("GET / ") + version), 505) << version;
    }
}

TEST(RequestHeadTest, malformedHeaderIsRefused) {
    for (const char* const header :
         {"x", ": x", "a b: c", " a: b", "a : b", "a\x01: b", "a: \x01", "a: b\nc: d", "a: \x7f"}) {
        EXPECT_EQ(status_of_header(header), 400) << header;
    }
    EXPECT_EQ(status_of("GET / HTTP/1.1\r\n\r\n"), 200);
    EXPECT_EQ(status_of("GET / HTTP/1.1\r\nHost: x\r\n"), 400);
    EXPECT_EQ(status_of(""), 400);
}

TEST(RequestHeadTest, bodyIsRefused) {
    EXPECT_EQ(status_of_header("Content-Length: 0"), 200);
    EXPECT_EQ(status_of_header("Content-Length: 1"), 413);
    EXPECT_EQ(status_of_header("Content-Length: 00x"), 413);
    EXPECT_EQ(status_of_header("Transfer-Encoding: chunked"), 413);
}

TEST(RequestHeadTest, lengthsAreLimited) {
    EXPECT_EQ(status_of_line("GET /" + std::string(7900, 'a') + " HTTP/1.1"), 200);
    EXPECT_EQ(status_of_line("GET /" + std::string(8000, 'a') + " HTTP/1.1"), 414);
    EXPECT_EQ(status_of_header("a: " + std::string(7900, 'a')), 200);
    EXPECT_EQ(status_of_header("a: " + std::string(8000, 'a')), 431);
    std::string many = "a: b";
    for (int k = 1; k < 99; ++k) {
        many += "\r\na: b";
    }
    EXPECT_EQ(status_of_header(many), 200);
    EXPECT_EQ(status_of_header(many + "\r\na: b"), 431);
}

} // namespace
} // namespace logging2::tools::view
