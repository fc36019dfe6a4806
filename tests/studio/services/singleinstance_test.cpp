#include "services/singleinstance.h"

#include "services/platform/platform.h"
#include "studio/services/services.h"

#include <QProcess>
#include <QSharedMemory>
#include <QSysInfo>

#include <gtest/gtest.h>
#include <memory>

using VortaQt::SingleInstance;

namespace {

/// Another process that holds the key, or tried to.
class Holder {
public:
    explicit Holder(const QString& key) {
        process_.start(QStringLiteral(VORTA_BIN_DIR "/singleinstanceholder"), {key});
        process_.waitForReadyRead(20'000);
        answer_ = QString::fromLatin1(process_.readAllStandardOutput()).trimmed();
    }

    [[nodiscard]] const QString& answer() const noexcept { return answer_; }

    /// As by the operating system: no destructor runs.
    void crash() {
        process_.kill();
        ASSERT_TRUE(process_.waitForFinished(20'000));
        ASSERT_EQ(process_.exitStatus(), QProcess::CrashExit);
    }

    int end() {
        process_.closeWriteChannel();
        return process_.waitForFinished(20'000) && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode()
                                                                                                 : -1;
    }

private:
    QProcess process_;
    QString answer_;
};

class SingleInstanceTest : public testing::Test {
protected:
    SingleInstanceTest() {
        Vorta::Testing::coreApplication();
        key = QStringLiteral("VortaTest-%1-%2")
                  .arg(QCoreApplication::applicationPid())
                  .arg(QLatin1String(testing::UnitTest::GetInstance()->current_test_info()->name()));
    }

    QString key;
};

TEST_F(SingleInstanceTest, onlyTheFirstGetsTheKey) {
    const SingleInstance first{key};
    EXPECT_TRUE(first.isFirst());
    const SingleInstance second{key};
    EXPECT_FALSE(second.isFirst());
    const SingleInstance third{key};
    EXPECT_FALSE(third.isFirst()) << "the second must not have freed the key";
    const SingleInstance other{key + QStringLiteral("-other")};
    EXPECT_TRUE(other.isFirst()) << "keys are independent";
}

TEST_F(SingleInstanceTest, isFreeAgainOnceTheFirstIsGone) {
    for (int round = 0; round < 3; ++round) {
        const SingleInstance guard{key};
        EXPECT_TRUE(guard.isFirst()) << round;
    }
}

TEST_F(SingleInstanceTest, aRefusedOneFreesNothingWhenItGoes) {
    const SingleInstance first{key};
    { const SingleInstance second{key}; }
    EXPECT_FALSE(SingleInstance{key}.isFirst());
}

TEST_F(SingleInstanceTest, reservesHalfAKilobyte) {
    const SingleInstance guard{key};
    QSharedMemory segment{key};
    ASSERT_TRUE(segment.attach(QSharedMemory::ReadOnly));
    EXPECT_GE(segment.size(), 512);
}

TEST_F(SingleInstanceTest, respectsALivingProcess) {
    Holder holder{key};
    ASSERT_EQ(holder.answer(), QStringLiteral("held"));
    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_FALSE(SingleInstance{key}.isFirst()) << attempt;
    Holder second{key};
    EXPECT_EQ(second.answer(), QStringLiteral("refused"));
    EXPECT_EQ(second.end(), 1);
    EXPECT_EQ(holder.end(), 0);
    EXPECT_TRUE(SingleInstance{key}.isFirst()) << "free after an orderly end";
}

TEST_F(SingleInstanceTest, worksRightAfterACrash) {
    Holder holder{key};
    ASSERT_EQ(holder.answer(), QStringLiteral("held"));
    holder.crash();
    if (QSysInfo::kernelType() == QLatin1String("linux")) {
        QSharedMemory plain{key};
        ASSERT_FALSE(plain.create(512)) << "the crash left no segment behind, so this tests nothing";
        ASSERT_EQ(plain.error(), QSharedMemory::AlreadyExists);
    }
    const SingleInstance guard{key};
    EXPECT_TRUE(guard.isFirst());
    EXPECT_FALSE(SingleInstance{key}.isFirst());
}

TEST_F(SingleInstanceTest, theNextProcessWorksAfterACrashToo) {
    for (int round = 0; round < 2; ++round) {
        Holder holder{key};
        EXPECT_EQ(holder.answer(), QStringLiteral("held")) << round;
        holder.crash();
    }
    Holder last{key};
    EXPECT_EQ(last.answer(), QStringLiteral("held"));
    EXPECT_EQ(last.end(), 0);
}

TEST_F(SingleInstanceTest, clearingAnAbsentSegmentIsHarmless) {
    VortaQt::Platform::clearStaleSharedMemory(key);
    EXPECT_TRUE(SingleInstance{key}.isFirst());
}

} // namespace
