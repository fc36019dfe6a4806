#include "services/loghandler.h"

#include "studio/services/services.h"
#include "vorta/common/exceptions.h"

#include <QThread>

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <thread>
#include <vector>

using namespace Vorta::Testing;
using Vorta::Log::Severity;
using VortaQt::LogHandler;

namespace {

/// Runs `check` in a process of its own, where no handler was made yet, and expects true of it.
template <class Check>
void expectInFreshProcess(Check check) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::_Exit(check() ? 0 : 1), testing::ExitedWithCode(0), "");
}

template <class Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (const Vorta::RuntimeException& exception) {
        return exception.what();
    }
    return "no exception";
}

TEST(LogHandler, deliversWhatTheProgramLogs) {
    LogRecorder recorder;
    recorder.start();
    logHandler().log(Severity::Error, "first");
    logHandler().log(Severity::Debug, "second");
    ASSERT_EQ(recorder.messages(), (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    EXPECT_EQ(recorder.events[0].severity, Severity::Error);
    EXPECT_EQ(recorder.events[1].severity, Severity::Debug);
}

TEST(LogHandler, deliversWhatTheLibraryLogs) {
    LogRecorder recorder;
    recorder.start();
    Vorta::Log::warning("VortaAPI/Test", __LINE__, "%d heads, %s", 2, "none in use");
    ASSERT_EQ(recorder.events.size(), 1);
    EXPECT_EQ(recorder.events[0].severity, Severity::Warning);
    EXPECT_EQ(recorder.events[0].message, QStringLiteral("2 heads, none in use"));
}

TEST(LogHandler, keepsMessagesUntilOneComesAfterAReceiver) {
    LogRecorder recorder;
    logHandler().log(Severity::Info, "a");
    logHandler().log(Severity::Info, "b");
    recorder.start();
    EXPECT_TRUE(recorder.events.isEmpty()) << "connecting alone delivers nothing";
    logHandler().log(Severity::Info, "c");
    EXPECT_EQ(recorder.messages(), (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
    logHandler().log(Severity::Info, "d");
    EXPECT_EQ(recorder.messages().mid(3), QStringList{QStringLiteral("d")}) << "nothing is delivered twice";
}

TEST(LogHandler, keepsMessagesAgainAfterTheLastReceiverHasGone) {
    {
        LogRecorder gone;
        gone.start();
    }
    LogRecorder recorder;
    logHandler().log(Severity::Info, "kept");
    recorder.start();
    logHandler().log(Severity::Info, "next");
    EXPECT_EQ(recorder.messages(), (QStringList{QStringLiteral("kept"), QStringLiteral("next")}));
}

TEST(LogHandler, bringsEveryThreadsMessagesInOrderToTheReceiversThread) {
    constexpr int threadCount = 4;
    constexpr int messageCount = 250;
    coreApplication();
    LogRecorder drain;
    QObject receiver;
    std::map<QString, int> next; // by posting thread
    bool inOrder = true;
    bool onReceiversThread = true;
    QObject::connect(
        &logHandler(), &LogHandler::logEvent, &receiver,
        [&](const VortaQt::LogEvent& event) {
            const QStringList parts = event.message.split(QLatin1Char(' '));
            inOrder = inOrder && next[parts[0]]++ == parts[1].toInt();
            onReceiversThread = onReceiversThread && QThread::currentThread() == receiver.thread();
        },
        Qt::QueuedConnection);

    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([thread] {
            for (int message = 0; message < messageCount; ++message) {
                const std::string text = std::to_string(thread) + " " + std::to_string(message);
                if (thread % 2 == 0)
                    logHandler().log(Severity::Info, text);
                else
                    Vorta::Log::info("VortaAPI/Test", __LINE__, "%s", text);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(next.empty()) << "delivered only by the receiver's event loop";
    QCoreApplication::sendPostedEvents(&receiver);

    EXPECT_TRUE(inOrder);
    EXPECT_TRUE(onReceiversThread);
    ASSERT_EQ(next.size(), std::size_t{threadCount});
    for (const auto& [thread, count] : next)
        EXPECT_EQ(count, messageCount) << thread.toStdString();
}

TEST(LogHandler, refusesASecondOneAndGoesOnWorking) {
    LogRecorder recorder;
    recorder.start();
    Vorta::Application application;
    EXPECT_EQ(messageOf([&] { LogHandler second(application, "Second"); }),
              "LogHandler is singleton. A log handler exists already.");
    EXPECT_EQ(&LogHandler::instance(), &logHandler());
    Vorta::Log::error("VortaAPI/Test", __LINE__, "still here");
    EXPECT_EQ(recorder.messages(), QStringList{QStringLiteral("still here")});
}

TEST(LogHandler, hasNoInstanceBeforeTheFirstIsMade) {
    expectInFreshProcess(
        [] { return messageOf([] { static_cast<void>(LogHandler::instance()); }) == "LogHandler == nullptr"; });
}

TEST(LogHandler, givesTheCallbackBackAndAllowsNoSuccessor) {
    expectInFreshProcess([] {
        Vorta::Application application;
        {
            LogHandler first(application, "First");
            Vorta::Log::error("VortaAPI/Test", __LINE__, "stays queued and is dropped");
        }
        Vorta::Log::error("VortaAPI/Test", __LINE__, "reaches nobody");
        return messageOf([&] { LogHandler second(application, "Second"); }) ==
               "LogHandler is singleton. A log handler exists already.";
    });
}

TEST(LogHandler, keepsItsName) {
    EXPECT_EQ(logHandler().name(), "Tests");
}

TEST(LogHandler, belongsToItsParent) {
    expectInFreshProcess([] {
        Vorta::Application application;
        QObject parent;
        const auto* handler = new LogHandler(application, "Child", &parent);
        return handler->parent() == &parent && &LogHandler::instance() == handler;
    });
}

} // namespace
