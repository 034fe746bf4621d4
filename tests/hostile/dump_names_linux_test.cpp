// Another user owns the dump folder and has created files with the names of the next dumps.

#include "shared/crash/crash_handler.h"
#include "tests/hostile/neighbour_linux.h"
#include "tests/support/dump.h"
#include "tests/support/text.h"
#include "tests/support/this_build.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

using namespace ox::tests;

namespace
{

using HostileDumpName = NeighbourTest;

TEST_F(HostileDumpName, IsNeitherFollowedNorOverwritten)
{
    if (hasAddressSanitizer)
        GTEST_SKIP() << "the sanitizers handle the signals of crashes";
    auto const dumps = [this] {
        return QDir(inside("")).entryList({u"*.oxdmp"_q}, QDir::Files | QDir::NoSymLinks);
    };
    static __OX context{_oxTime(true), nullptr, {}, "hostile.txt"};
    oxCrashHandler & handler = *oxCrashHandler::instance();
    handler.init(context, 0, nullptr);
    handler.setDumpPath(inside(""));
    ASSERT_TRUE(handler.writeMinidump());
    ASSERT_EQ(dumps().size(), 1);
    QString const first = dumps()[0]; // "hostile__dump_1114_090507_7.0.26_261114_0905_64.oxdmp"
    constexpr int timeAt = 14;
    constexpr int timeLength = 11;
    auto const nameAt = [&first](QDateTime const & time) {
        return QString(first).replace(timeAt, timeLength, time.toString(u"MMdd_HHmmss"_q));
    };
    QDateTime const now = QDateTime::currentDateTime();
    constexpr Kind kinds[] = {Kind::NewFileLink, Kind::FolderLink, Kind::Folder, Kind::Pipe};
    int second = 0;
    for (; second < 12; ++second) {
        QString const next = inside("") + nameAt(now.addSecs(second));
        if (!QFile::exists(next))
            plant(next, kinds[second % 4]);
    }
    ASSERT_TRUE(handler.writeMinidump());
    EXPECT_EQ(dumps().size(), 2);
    EXPECT_TRUE(readDump(inside("") + nameAt(now.addSecs(second))).isDump);

    plant(inside("pipe"), Kind::Pipe);
    handler.setDumpPath(inside("pipe"));
    EXPECT_FALSE(handler.writeMinidump());
}

} // namespace
