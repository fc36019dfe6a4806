// Many messages from several threads at once, and receivers that come and go meanwhile.

#include "services/logwidget.h"
#include "studio/services/services.h"
#include "support/widgets.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QTableWidget>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Vorta::Testing;
using Vorta::Log::Severity;
using VortaQt::LogHandler;
using VortaQt::LogWidget;

namespace {

constexpr int threadCount = 4;

void deliverTo(LogWidget& widget) {
    QObject::connect(&logHandler(), &LogHandler::logEvent, &widget, &LogWidget::addToLog, Qt::QueuedConnection);
}

/// "thread number", half of it through the library's log.
void post(int thread, int number) {
    const std::string text = std::to_string(thread) + " " + std::to_string(number);
    if (number % 2 == 0)
        logHandler().log(Severity::Info, text);
    else
        Vorta::Log::warning("VortaAPI/Test", __LINE__, "%s", text);
}

template <class Work>
std::vector<std::thread> onFourThreads(Work work) {
    std::vector<std::thread> threads;
    threads.reserve(threadCount);
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back(work, thread);
    return threads;
}

void join(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads)
        thread.join();
}

class LogFlood : public testing::Test {
protected:
    LogFlood() {
        const LogRecorder drain;
        widget->resize(700, 200);
        showAndActivate(*widget);
        deliverTo(*widget);
    }

    /// Posts from four threads while the event loop runs; whether all rows came.
    bool flood(int messagesPerThread) {
        const int wanted = table->rowCount() + threadCount * messagesPerThread;
        auto threads = onFourThreads([&](int thread) {
            for (int number = 0; number < messagesPerThread; ++number)
                post(thread, number);
        });
        const bool came = waitFor([&] { return table->rowCount() == wanted; }, 60'000);
        join(threads);
        return came;
    }

    [[nodiscard]] bool lastRowIsInSight() const {
        const QRect last = table->visualItemRect(table->item(table->rowCount() - 1, 2));
        return last.isValid() && last.top() >= 0 && last.bottom() <= table->viewport()->height();
    }

    std::unique_ptr<LogWidget> widget = std::make_unique<LogWidget>();
    QTableWidget* table = &find<QTableWidget>(*widget, QStringLiteral("tableWidget"));
};

TEST_F(LogFlood, EveryMessageOfEveryThreadBecomesARowInOrder) {
    constexpr int messages = 2500;
    ASSERT_TRUE(flood(messages)) << table->rowCount();
    std::array<int, threadCount> next{};
    for (int row = 0; row < table->rowCount(); ++row) {
        const QStringList words = table->item(row, 2)->text().split(QLatin1Char(' '));
        ASSERT_EQ(words.size(), 2) << row;
        int& expected = next.at(static_cast<std::size_t>(words[0].toInt()));
        ASSERT_EQ(words[1].toInt(), expected) << row;
        const QString type = expected % 2 == 0 ? QStringLiteral("Info") : QStringLiteral("Warning");
        ASSERT_EQ(table->item(row, 1)->text(), type) << row;
        ASSERT_FALSE(table->item(row, 0)->text().isEmpty()) << row;
        ASSERT_FALSE(table->item(row, 2)->flags() & Qt::ItemIsEditable) << row;
        ++expected;
    }
    for (const int count : next)
        EXPECT_EQ(count, messages);
}

TEST_F(LogFlood, IsFollowedToItsLastRowWhichIsDrawn) {
    ASSERT_TRUE(flood(500));
    EXPECT_TRUE(waitFor([&] { return lastRowIsInSight(); }));
    EXPECT_TRUE(waitFor([&] { return table->verticalHeader()->viewport()->updatesEnabled(); }))
        << "the row numbers are drawn again";
    EXPECT_EQ(table->verticalHeader()->count(), table->rowCount());
}

TEST_F(LogFlood, LeavesTheViewWhereTheUserScrolledIt) {
    ASSERT_TRUE(flood(25));
    ASSERT_TRUE(waitFor([&] { return lastRowIsInSight(); }));
    table->verticalScrollBar()->setValue(10);
    ASSERT_TRUE(flood(500));
    const int last = table->rowCount() - 1;
    ASSERT_TRUE(waitFor([&] { return table->verticalScrollBar()->maximum() > last - 20; })) << "all rows are laid out";
    EXPECT_EQ(table->verticalScrollBar()->value(), 10);
    table->verticalScrollBar()->setValue(table->verticalScrollBar()->maximum());
    EXPECT_TRUE(lastRowIsInSight());
}

TEST_F(LogFlood, RowsThatComeWhileTheLogIsHiddenAreThereAfterwards) {
    widget->hide();
    ASSERT_TRUE(flood(250));
    showAndActivate(*widget);
    widget->scrollToBottom();
    EXPECT_TRUE(lastRowIsInSight());
}

TEST_F(LogFlood, ReceiversMayGoWhileThreadsPost) {
    std::atomic<int> posting = threadCount;
    auto threads = onFourThreads([&](int thread) {
        for (int number = 0; number < 2500; ++number)
            post(thread, number);
        --posting;
    });
    for (int receivers = 0; posting > 0 || receivers < 10; ++receivers) {
        widget = std::make_unique<LogWidget>();
        table = &find<QTableWidget>(*widget, QStringLiteral("tableWidget"));
        deliverTo(*widget);
        QCoreApplication::processEvents();
    }
    join(threads);
    // What came while nobody received goes out ahead of the next message.
    post(0, 2500);
    QCoreApplication::sendPostedEvents(widget.get());
    const int before = table->rowCount();
    EXPECT_TRUE(flood(25));
    EXPECT_EQ(table->rowCount(), before + 25 * threadCount) << "the last receiver goes on receiving";
    std::array<int, threadCount> last{-1, -1, -1, -1};
    for (int row = 0; row < before; ++row) {
        const QStringList words = table->item(row, 2)->text().split(QLatin1Char(' '));
        int& previous = last.at(static_cast<std::size_t>(words[0].toInt()));
        // What came between two receivers waited; what went with the earlier one is missing.
        ASSERT_GT(words[1].toInt(), previous) << row;
        previous = words[1].toInt();
    }
}

} // namespace
