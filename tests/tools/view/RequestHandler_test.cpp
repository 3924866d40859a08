#include <tools/compare/Extent.hpp>
#include <tools/view/LiveFeed.hpp>
#include <tools/view/RequestHandler.hpp>

#include <logging2/backends/recording/recording.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <logging2/conformance/detail/setups.hpp>

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>
#include <random>
#include <thread>

namespace logging2::tools::view {
namespace {

using core::test::write;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The handler in front of a directory with one recording, whose host still writes it.
class RequestHandlerTest : public ::testing::Test {
protected:
    RequestHandlerTest() {
        writer = newWriter();
        for (int step = 0; step < 10; ++step) {
            write(*writer, 0, step, {step * 10.0});
        }
        writer->flushIntermediate();
        id = core::open_recording(writer->location())->info().id;
        catalog.emplace(directory.path().string());
        feed.emplace(*catalog);
        api.emplace(*catalog, *feed);
        handler.emplace(access, *api);
        cookie = handler->answer({"GET", access.firstTarget(), {{"host", "localhost"}}})
                     .headers.front()
                     .second;
        base = cookie.substr(cookie.find('/'), 17);
    }

    std::unique_ptr<core::RecordingStreamWriter> newWriter() const {
        core::RecordingOptions options;
        options.directory = directory.path().string();
        options.heldBackSteps = 0;
        return std::make_unique<core::RecordingStreamWriter>(core::StreamingAttributes(),
                                                             core::test::scalarSetup(), options);
    }

    Reply get(const std::string& target) {
        return handler->answer({"GET", base + target, {{"host", "localhost"}, {"cookie", cookie}}});
    }

    Json json(const std::string& target) { return Json::parse(get(target).body); }

    std::string runPath(const std::string& question) const { return "/api/runs/" + id + question; }

    core::test::TemporaryDirectory directory;
    std::unique_ptr<core::RecordingStreamWriter> writer;
    std::string id;
    Access access{80, {}};
    std::optional<RunCatalog> catalog;
    std::optional<LiveFeed> feed;
    std::optional<Api> api;
    std::optional<RequestHandler> handler;
    std::string cookie;
    std::string base;
};

TEST_F(RequestHandlerTest, everyReplyHasTheSecurityHeaders) {
    for (const char* const target : {"/api/runs", "/nothing", "/api/nothing", "/?token=x"}) {
        const Reply reply = get(target);
        std::string headers;
        for (const auto& [name, value] : reply.headers) {
            headers += name + ": " + value + '\n';
        }
        EXPECT_THAT(headers, AllOf(HasSubstr("Content-Security-Policy: default-src 'none';"),
                                   HasSubstr("X-Content-Type-Options: nosniff"),
                                   HasSubstr("Cache-Control: no-store"),
                                   HasSubstr("Referrer-Policy: no-referrer"),
                                   HasSubstr("Cross-Origin-Resource-Policy: same-origin")))
            << target;
        EXPECT_THAT(headers, Not(HasSubstr("Access-Control"))) << target;
    }
}

TEST_F(RequestHandlerTest, nothingIsAnsweredWithoutTheCookie) {
    for (const std::string& target :
         {std::string("/"), std::string("/api/runs"), runPath(""), std::string("/page/main.js"),
          std::string("/lib/dygraph.min.js"), std::string("/api/events")}) {
        const Reply reply = handler->answer({"GET", base + target, {{"host", "localhost"}}});
        EXPECT_EQ(reply.status, 401) << target;
        EXPECT_THAT(reply.body, HasSubstr("Open the address")) << target;
    }
}

TEST_F(RequestHandlerTest, runsAreListed) {
    const Json runs = json("/api/runs").at("runs");
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].at("id"), id);
    EXPECT_EQ(runs[0].at("state"), "running");
    EXPECT_EQ(runs[0].at("steps"), 10);
}

TEST_F(RequestHandlerTest, runTellsItsSignalsAndGroups) {
    const Json run = json(runPath(""));
    EXPECT_EQ(run.at("id"), id);
    EXPECT_GE(run.at("lag"), 0.0);
    EXPECT_EQ(run.at("signals")[0].at("path"), "x");
    EXPECT_EQ(run.at("groups")[0].at("lastTime"), 9.0);
}

TEST_F(RequestHandlerTest, laterStepsAreSeen) {
    json(runPath(""));
    write(*writer, 0, 10.0, {1.0});
    writer->flush();
    EXPECT_EQ(json(runPath("")).at("groups")[0].at("steps"), 11);
    EXPECT_EQ(json(runPath("")).at("state"), "finished");
    EXPECT_TRUE(json(runPath("")).at("lag").is_null());
}

TEST_F(RequestHandlerTest, valuesAreThoseInForceAtTheTime) {
    const Json value = json(runPath("/values?time=3.5&signal=x&element=0")).at("values")[0];
    EXPECT_EQ(value.at("before"), (Json{{"step", 3}, {"time", 3.0}, {"value", 30.0}}));
    EXPECT_EQ(value.at("after").at("step"), 4);
    EXPECT_TRUE(
        json(runPath("/values?time=-1&signal=x&element=0")).at("values")[0].at("before").is_null());
    EXPECT_TRUE(
        json(runPath("/values?time=9&signal=x&element=0")).at("values")[0].at("after").is_null());
    EXPECT_EQ(
        json(runPath("/values?time=9&signal=x&element=0")).at("values")[0].at("before").at("step"),
        9);
}

TEST_F(RequestHandlerTest, valuesAreNotThoseOfInfiniteTimes) {
    for (const double time : {infinity, 10.0, 11.0, -infinity}) {
        write(*writer, 0, time, {1.0});
    }
    writer->flushIntermediate();
    const auto at = [this](const std::string& time) {
        return json(runPath("/values?signal=x&element=0&time=" + time)).at("values")[0];
    };
    EXPECT_EQ(at("9").at("after").at("time"), 10.0);
    EXPECT_EQ(at("20").at("before").at("time"), 11.0);
    EXPECT_TRUE(at("-1").at("before").is_null());
    EXPECT_TRUE(at("11").at("after").is_null());
}

TEST_F(RequestHandlerTest, errorPagesKeepTheAddressOfTheView) {
    const Reply reply = handler->answer({"GET", base + "/", {{"host", "localhost"}}});
    EXPECT_EQ(reply.status, 401);
    EXPECT_THAT(reply.body, AllOf(HasSubstr("Reload the page"), Not(HasSubstr("href=\"\""))));
}

TEST_F(RequestHandlerTest, malformedQuestionsAreRefused) {
    for (const char* const question :
         {"/trace", "/trace?signal=x", "/trace?signal=x&from=0&to=1&pixels=0",
          "/trace?signal=x&from=0&to=1&pixels=3001", "/trace?signal=x&from=2&to=1&pixels=10",
          "/trace?signal=x&from=nan&to=1&pixels=10", "/trace?signal=x&from=0&to=1&pixels=9&z=1",
          "/trace?signal=x&element=-1&from=0&to=1&pixels=9", "/values?time=1",
          "/values?signal=x&element=0", "/values?time=1&signal=x",
          "/values?time=1&signal=x&element=0&element=0", "/values?time=1&signal=x&element=-1",
          "/csv", "/csv?signal=x&from=2&to=1", "/csv?signal=x&element=0&element=0",
          "/csv?signal=x&element=none", "?x=1"}) {
        const Reply reply = get(runPath(question));
        EXPECT_EQ(reply.status, 400) << question;
        EXPECT_EQ(reply.contentType, "application/json");
        EXPECT_NE(Json::parse(reply.body).at("error"), "") << question;
    }
    EXPECT_EQ(
        get("/api/diff?a=" + id + "&b=" + id + "&signal=x&from=0&to=1&pixels=5&absolute=-1").status,
        400);
}

TEST_F(RequestHandlerTest, whatDoesNotExistIsNotFound) {
    for (const std::string& target :
         {runPath("/other"), runPath("/"), runPath("/trace/"), std::string("/api/"),
          std::string("/api/runs/"), std::string("/api/runs/unknown"), std::string("/page/"),
          std::string("/page/unknown.js"), std::string("/lib/dygraph.js"), std::string("/x"),
          runPath("/trace?signal=y&from=0&to=1&pixels=10"),
          runPath("/trace?signal=x&element=1&from=0&to=1&pixels=10"),
          runPath("/values?time=1&signal=y&element=0"),
          runPath("/values?time=1&signal=x&element=1"), runPath("/csv?signal=y"),
          runPath("/csv?signal=x&element=1"), std::string("/api/events?run=unknown")}) {
        EXPECT_EQ(get(target).status, 404) << target;
    }
}

TEST_F(RequestHandlerTest, pathsNeverLeaveTheServersFiles) {
    for (const char* const target :
         {"/../../etc/passwd", "/page/../../../etc/passwd", "/lib/../../../etc/passwd",
          "/page//etc/passwd", "/api/runs/../../etc/passwd", "/api/runs/..", "//etc/passwd"}) {
        const Reply reply = get(target);
        EXPECT_EQ(reply.status, 404) << target;
        EXPECT_THAT(reply.body, Not(HasSubstr("root:"))) << target;
    }
    for (const char* const target :
         {"/page/%2e%2e/%2e%2e/etc/passwd", "/%00", "/page/..%2f..%2fetc/passwd"}) {
        EXPECT_EQ(get(target).status, 400) << target;
    }
}

TEST_F(RequestHandlerTest, runThatDisappearsIsGone) {
    EXPECT_EQ(get(runPath("")).status, 200);
    std::filesystem::remove_all(writer->location());
    for (const char* const question : {"", "/trace?signal=x&from=0&to=1&pixels=5",
                                       "/values?time=1&signal=x&element=0", "/csv?signal=x"}) {
        const Reply reply = get(runPath(question));
        EXPECT_EQ(reply.status, 410) << question;
        EXPECT_THAT(reply.body, HasSubstr("The run is gone")) << question;
    }
    EXPECT_EQ(json("/api/runs").at("runs").size(), 0U);
    const Reply reply = get(runPath(""));
    EXPECT_EQ(reply.status, 410);
    EXPECT_THAT(reply.body, HasSubstr("The run is gone"));
}

TEST_F(RequestHandlerTest, damagedRunIsAnError) {
    get(runPath(""));
    writer->flush();
    std::filesystem::resize_file(writer->location() + "/samples.bin", 300);
    const Reply reply = get(runPath("/trace?signal=x&from=0&to=5&pixels=5"));
    EXPECT_EQ(reply.status, 422);
    EXPECT_THAT(reply.body, HasSubstr("samples.bin"));
}

TEST_F(RequestHandlerTest, recordingThatReplacesAnotherOneIsShown) {
    get(runPath(""));
    writer->flush();
    const std::string location = writer->location();
    const auto other = newWriter();
    other->flush();
    std::filesystem::remove_all(location);
    std::filesystem::rename(other->location(), location);
    EXPECT_EQ(get(runPath("")).status, 200);
    EXPECT_EQ(json(runPath("")).at("groups")[0].at("steps"), 0);
}

TEST_F(RequestHandlerTest, copiesHaveIdsOfTheirOwn) {
    writer->flush();
    std::filesystem::copy(writer->location(), directory.path() / "zz-copy.recording");
    const Json runs = json("/api/runs").at("runs");
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_NE(runs[0].at("id"), runs[1].at("id"));
    for (const Json& run : runs) {
        EXPECT_EQ(get("/api/runs/" + run.at("id").get<std::string>()).status, 200);
    }
}

TEST_F(RequestHandlerTest, linksOutOfTheDirectoryAreNotFollowed) {
    writer->flush();
    namespace fs = std::filesystem;
    const fs::path place = writer->location();
    const core::test::TemporaryDirectory elsewhere;
    fs::rename(place, elsewhere.path() / "run.recording");
    fs::create_directory_symlink(elsewhere.path() / "run.recording", place);
    EXPECT_EQ(json("/api/runs").at("runs").size(), 0U);
    EXPECT_EQ(get(runPath("")).status, 404);
    fs::create_directory(directory.path() / "more");
    fs::rename(elsewhere.path() / "run.recording", directory.path() / "more" / "run.recording");
    fs::create_directory_symlink("more/run.recording", directory.path() / "inside.recording");
    EXPECT_EQ(json("/api/runs").at("runs").size(), 1U);
    EXPECT_EQ(get(runPath("")).status, 200);
}

TEST_F(RequestHandlerTest, csvIsThatOfAllSteps) {
    const Reply reply = get(runPath("/csv?signal=x&from=2&to=3"));
    std::string text;
    const Sink sink = [&text](std::string_view piece) {
        text += piece;
        return true;
    };
    while (reply.next(sink)) {
    }
    EXPECT_EQ(text, "time,x\n2,20\n3,30\n");
}

TEST_F(RequestHandlerTest, downloadsAreLimited) {
    std::vector<Reply> downloads;
    for (int k = 0; k < 8; ++k) {
        downloads.push_back(get(runPath("/csv?signal=x")));
        EXPECT_EQ(downloads.back().status, 200);
    }
    EXPECT_EQ(get(runPath("/csv?signal=x")).status, 503);
    downloads.clear();
    EXPECT_EQ(get(runPath("/csv?signal=x")).status, 200);
}

/// The next piece of the stream that tells of this kind of event.
std::string next_event(const Reply& reply, const std::string& name = "run") {
    std::string text;
    const Sink sink = [&text](std::string_view piece) {
        text = piece;
        return true;
    };
    const auto has = [&text, &name] {
        return text.find("event: " + name + '\n') != std::string::npos;
    };
    for (int k = 0; k < 100 && !has(); ++k) {
        reply.next(sink);
    }
    return text;
}

TEST_F(RequestHandlerTest, eventsTellWhatHasChanged) {
    const Reply stream = get("/api/events?run=" + id);
    EXPECT_THAT(next_event(stream),
                AllOf(StartsWith("event: run\ndata: {"), HasSubstr("\"steps\":10")));
    write(*writer, 0, 10.0, {1.0});
    writer->flushIntermediate();
    EXPECT_THAT(next_event(stream), HasSubstr("\"steps\":11"));
    writer->rollback(0, 5.0);
    writer->flush();
    EXPECT_THAT(next_event(stream), HasSubstr("\"revision\":1"));
}

TEST_F(RequestHandlerTest, eventsTellOfNewRuns) {
    const Reply stream = get("/api/events");
    const auto other = newWriter();
    EXPECT_THAT(next_event(stream, "runs"), StartsWith("event: runs\ndata: {}\n\n"));
}

TEST_F(RequestHandlerTest, eventsTellThatTheServerHasLooked) {
    const Reply stream = get("/api/events?run=" + id);
    next_event(stream);
    EXPECT_THAT(next_event(stream, "look"), HasSubstr("event: look\ndata: {}\n\n"));
}

TEST_F(RequestHandlerTest, eventsTellOfARunThatIsGone) {
    const Reply stream = get("/api/events?run=" + id);
    next_event(stream);
    std::filesystem::remove_all(writer->location());
    EXPECT_THAT(next_event(stream), HasSubstr("\"error\":\"The run is gone"));
}

TEST_F(RequestHandlerTest, eventsFollowNoLinkOutOfTheDirectory) {
    const Reply stream = get("/api/events?run=" + id);
    next_event(stream);
    const core::test::TemporaryDirectory elsewhere;
    std::filesystem::rename(writer->location(), elsewhere.path() / "run");
    std::filesystem::create_directory_symlink(elsewhere.path() / "run", writer->location());
    EXPECT_THAT(next_event(stream), HasSubstr("\"error\":\"The run is gone"));
}

/// A question about the run, of which some characters are others.
std::string random_target(std::mt19937& random, const std::string& run) {
    const std::vector<std::string> targets{
        run + "/trace?signal=x&element=0&from=0&to=9&pixels=20",
        run + "/values?time=3&signal=x&element=0&signal=x&element=0",
        run + "/csv?signal=x&from=1",
        "/api/diff?a=a&b=b&signal=x&from=0&to=9&pixels=5&shift=1&relative=0.1",
        "/api/events?run=a",
        "/api/runs",
        "/page/main.js"};
    const std::string characters = "0123456789abcxyz./%&=?+-e_~\x01\xff";
    std::string target = targets[random() % targets.size()];
    for (unsigned changes = random() % 4; changes > 0; --changes) {
        const char c = characters[random() % characters.size()];
        const std::size_t place = random() % target.size();
        if (random() % 2 == 0) {
            target[place] = c;
        } else {
            target.insert(place, 1, c);
        }
    }
    return target;
}

TEST_F(RequestHandlerTest, randomRequestsAreAnsweredOrRefused) {
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        const std::string target = random_target(random, "/api/runs/" + id);
        const Reply reply = get(target);
        EXPECT_TRUE(reply.status == 200 || (reply.status >= 400 && reply.status < 500)) << target;
        EXPECT_LE(reply.body.size(), 200'000U) << target;
    }
}

TEST_F(RequestHandlerTest, manyThreadsGetTheSameAnswers) {
    const std::string target = runPath("/trace?signal=x&from=0&to=9&pixels=20");
    const std::string expected = get(target).body;
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; ++k) {
        threads.emplace_back([this, target, &expected] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(get(target).body, expected);
                EXPECT_EQ(get("/api/runs").status, 200);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace logging2::tools::view
