#include <tools/view/Access.hpp>
#include <tools/view/HttpError.hpp>

#include <gmock/gmock.h>

#include <string>

namespace logging2::tools::view {
namespace {

using ::testing::HasSubstr;

constexpr int port = 4711;

class AccessTest : public ::testing::Test {
protected:
    Request request(std::map<std::string, std::string> headers = {}) const {
        headers.emplace("host", "127.0.0.1:4711");
        headers.emplace("cookie", cookie);
        return {"GET", "/", headers};
    }

    /// The status with which the request is refused; 200 if it is not.
    int statusOf(const Request& request) const {
        try {
            access.check(request);
            return 200;
        } catch (const HttpError& error) {
            return error.status();
        }
    }

    int statusWith(const std::string& header, const std::string& value) const {
        Request changed = request();
        changed.headers[header] = value;
        return statusOf(changed);
    }

    std::string cookieFromToken() const {
        const Request first{"GET", access.firstTarget(), {{"host", "127.0.0.1:4711"}}};
        const std::string header = access.check(first)->headers.front().second;
        return header.substr(0, header.find(';'));
    }

    Access access{port, {"Lab.Example"}};
    std::string cookie = cookieFromToken();
};

TEST_F(AccessTest, tokenIsExchangedForACookie) {
    const Request first{"GET", access.firstTarget(), {{"host", "localhost:80"}}};
    const Reply reply = *access.check(first);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.headers.front().first, "Set-Cookie");
    EXPECT_THAT(reply.headers.front().second, HasSubstr("; HttpOnly; SameSite=Strict; Path=/"));
    EXPECT_EQ(reply.body.find(access.firstTarget().substr(8)), std::string::npos);
}

TEST_F(AccessTest, cookieIsNeeded) {
    EXPECT_EQ(statusOf(request()), 200);
    EXPECT_EQ(statusWith("cookie", ""), 401);
    EXPECT_EQ(statusWith("cookie", cookie + "0"), 401);
    EXPECT_EQ(statusWith("cookie", cookie.substr(0, cookie.size() - 1)), 401);
    EXPECT_EQ(statusWith("cookie", "x" + cookie), 401);
    EXPECT_EQ(statusWith("cookie", "logging2-4711="), 401);
    EXPECT_EQ(statusWith("cookie", "a=b; " + cookie + "; c=d"), 200);
}

TEST_F(AccessTest, wrongTokenIsRefused) {
    Request first{"GET", access.firstTarget(), {{"host", "localhost"}}};
    first.target.back() = first.target.back() == '0' ? '1' : '0';
    EXPECT_EQ(statusOf(first), 401);
    first.target = "/?token=";
    EXPECT_EQ(statusOf(first), 401);
}

TEST_F(AccessTest, tokensDiffer) {
    EXPECT_NE(Access(port, {}).firstTarget(), access.firstTarget());
    EXPECT_EQ(access.firstTarget().size(), std::string("/?token=").size() + 48);
}

TEST_F(AccessTest, onlyOwnNamesAreAllowedAsHost) {
    for (const char* const host :
         {"127.0.0.1", "127.0.0.1:1", "LOCALHOST:65535", "[::1]:4711", "lab.example:80"}) {
        EXPECT_EQ(statusWith("host", host), 200) << host;
    }
    for (const char* const host :
         {"", "example.com", "127.0.0.1.example.com", "localhost.", "localhost:", "localhost:80x",
          "localhost:123456", "localhost@example.com", "evil.lab.example", "127.0.0.2", "[::1]x",
          "127.0.0.1:4711, example.com"}) {
        EXPECT_EQ(statusWith("host", host), 403) << host;
    }
}

TEST_F(AccessTest, originMustBeThatOfTheServer) {
    EXPECT_EQ(statusWith("origin", "http://127.0.0.1:4711"), 200);
    for (const char* const origin :
         {"null", "", "https://127.0.0.1:4711", "http://127.0.0.1", "http://127.0.0.1:4712",
          "http://localhost:4711", "http://example.com", "http://127.0.0.1:4711.example.com"}) {
        EXPECT_EQ(statusWith("origin", origin), 403) << origin;
    }
}

TEST_F(AccessTest, otherSitesMayOnlyNavigate) {
    for (const char* const site : {"cross-site", "same-site"}) {
        EXPECT_EQ(statusWith("sec-fetch-site", site), 403);
        EXPECT_EQ(statusOf(request({{"sec-fetch-site", site}, {"sec-fetch-mode", "no-cors"}})),
                  403);
        EXPECT_EQ(statusOf(request({{"sec-fetch-site", site}, {"sec-fetch-mode", "navigate"}})),
                  200);
    }
    EXPECT_EQ(statusWith("sec-fetch-site", "same-origin"), 200);
    EXPECT_EQ(statusWith("sec-fetch-site", "none"), 200);
}

TEST(SecretTest, onlyEqualTextsAreTheSame) {
    EXPECT_TRUE(is_same_secret("", ""));
    EXPECT_TRUE(is_same_secret("abc", "abc"));
    EXPECT_FALSE(is_same_secret("abc", "abd"));
    EXPECT_FALSE(is_same_secret("abc", "ab"));
    EXPECT_FALSE(is_same_secret("", "a"));
}

} // namespace
} // namespace logging2::tools::view
