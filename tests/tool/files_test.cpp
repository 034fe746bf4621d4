#include "shared/data/checksum.h"
#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>

using namespace ox::tests;

namespace
{

/// Returns the four checksums of the first file in the report.
QStringList checksumsIn(ToolRun && run)
{
    QJsonObject const file = run.json().value(u"files"_q).toArray().at(0).toObject();
    QStringList sums;
    for (char const * name : {"crc8", "crc16", "crc32", "crc64"})
        sums << file.value(text(name)).toString();
    return sums;
}

QString hex(quint64 value, int digits)
{
    return u"%1"_q.arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

} // namespace

TEST(Inspect, DetectsTheFormatAndTheDamageOfFiles)
{
    Share const share;
    for (auto const & [name, format, isCompressed] :
         {std::tuple("oxdb", "db", 0), std::tuple("oxzp", "zp", 0), std::tuple("oxns", "ns", 1),
          std::tuple("gz", "gz", -1)}) {
        SCOPED_TRACE(name);
        QByteArray const good = goldenFile((std::string("binary.") + name).c_str());
        ToolRun run("inspect %1 --json", {share.write(u"good"_q, good)});
        EXPECT_EQ(run.status(), 0);
        QJsonObject const json = run.json();
        QJsonObject const header = json.value(u"header"_q).toObject();
        EXPECT_EQ(json.value(u"format"_q), text(format));
        EXPECT_EQ(json.value(u"payload"_q), 70001);
        EXPECT_EQ(header.value(u"isCompressed"_q).toInt(-1), isCompressed);
        EXPECT_EQ(json.value(u"crcStored"_q), json.value(u"crcComputed"_q));
        EXPECT_EQ(json.value(u"crcStored"_q).toString().size(), 8);

        QByteArray flipped = good;
        flipped[good.size() - 20] = static_cast<char>(flipped[good.size() - 20] ^ 8);
        for (QByteArray const & bad : {flipped, good.chopped(10), good.left(20)}) {
            ToolRun damaged("inspect %1 --json", {share.write(u"bad"_q, bad)});
            EXPECT_EQ(damaged.status(), 3) << bad.size();
            EXPECT_FALSE(damaged.json().value(u"intact"_q).toBool(true));
            EXPECT_NE(damaged.json().value(u"crcStored"_q),
                      damaged.json().value(u"crcComputed"_q).toString(u"-"_q));
        }
    }
}

TEST(Inspect, DoesNotReportAnUnreadableFileAsDamaged)
{
    Share const share;
    ToolRun run("inspect %1 --json", {share.writeSparse(u"large"_q, qint64{800} << 20)});
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.json().value(u"intact"_q).isNull());
    EXPECT_TRUE(run.errors().contains(u"Unable to allocate memory"_q));
}

TEST(Verify, ListsTheDamagedFilesOfATree)
{
    Share const share;
    QDir().mkpath(share.path(u"jobs"_q));
    QStringList damaged;
    for (char const * name : {"oxdb", "oxzp", "oxns", "gz"}) {
        QByteArray content = goldenFile((std::string("binary.") + name).c_str());
        share.write(u"jobs/good."_q + text(name), content);
        content[content.size() / 2] = static_cast<char>(content[content.size() / 2] ^ 8);
        damaged << share.write(u"jobs/bad."_q + text(name), content);
    }
    QString const zeros = share.write(u"jobs/zeros.OXDB"_q, QByteArray(100, '\0'));
    damaged.sort();
    auto const verify = [&](char const * line, int status, QStringList const & files) {
        ToolRun run(line, {share.path(), zeros});
        EXPECT_EQ(run.status(), status) << line;
        QStringList listed;
        for (QJsonValue const & file : run.json().value(u"files"_q).toArray())
            listed << file[u"file"_q].toString();
        EXPECT_EQ(listed, files) << line;
        return run.json().value(u"counts"_q).toObject();
    };
    QJsonObject const counts = verify("verify %1 --recursive --json", 3, damaged);
    EXPECT_EQ(counts[u"intact"_q], 4);
    EXPECT_EQ(counts[u"damaged"_q], 4);
    EXPECT_EQ(counts[u"otherFormat"_q], 1);
    verify("verify %1 --json", 0, {});
    verify("verify %1jobs --ends .oxdb --json", 3, {damaged[1], zeros});
    verify("verify %2 %1none --json", 3, {zeros});
    verify("verify %1none --json", 5, {});
}

TEST(Pack, WritesHeaderValuesAndAPayloadThatUnpackRestores)
{
    Share const share;
    QStringList const names = {goldenPath("binary.raw"), share.path(u"packed"_q)};
    for (char const * format : {"db", "zp", "ns", "gz"}) {
        ToolRun pack("pack %1 %2 --format %3 --header 11 -22 33",
                     names + QStringList(text(format)));
        EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
        QJsonObject const header =
            ToolRun("inspect %2 --json", names).json().value(u"header"_q).toObject();
        EXPECT_EQ(header.value(u"headerValue1"_q).toInt(-22), -22) << format;
        EXPECT_TRUE(toolShell().succeeds("\"$0\" unpack \"$2\" | cmp - \"$1\"", names)) << format;
    }
}

TEST(Pack, ReadsTheStandardInput)
{
    QByteArray const payload = QByteArray("\x1A\r\nline\n\0", 9).repeated(400000);
    Share const share;
    for (char const * input : {"-", "/dev/stdin"}) {
        QStringList const names = {text(input), share.path(u"packed"_q)};
        ToolRun pack("pack %1 %2", names);
        pack.sendInput(payload);
        EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
        EXPECT_EQ(contentOf(names[1]).mid(36), payload) << input;
        ToolRun empty("pack %1 %2", names);
        empty.sendInput({});
        EXPECT_EQ(empty.status(), 1);
        EXPECT_TRUE(empty.errors().contains(u"it is empty"_q)) << input;
        ToolRun sums("crc %1 --json", names);
        sums.sendInput(goldenFile("binary.raw"));
        EXPECT_EQ(checksumsIn(std::move(sums)),
                  checksumsIn(ToolRun("crc %1 --json", {goldenPath("binary.raw")})))
            << input;
    }
}

TEST(Crc, ComputesAllWidthsOverFilesOfManyPieces)
{
    Share const share;
    for (int const length : {0, 1, 1024 * 1024, 1024 * 1024 + 9, 3 * 1024 * 1024 + 1}) {
        QByteArray bytes(length, '\0');
        for (int i = 0; i < length; ++i)
            bytes[i] = static_cast<char>(i % 251 + i / 77);
        auto const * data = reinterpret_cast<unsigned char const *>(bytes.constData());
        auto const count = static_cast<unsigned int>(length);
        EXPECT_EQ(
            checksumsIn(ToolRun("crc %1 --json", {share.write(u"bytes"_q, bytes)})),
            (QStringList{hex(oxCRCCalc8(data, count, false), 2), hex(oxCRCCalc16(data, count), 4),
                         hex(oxCRCCalc(data, count), 8), hex(oxCRCCalc64(data, count), 16)}))
            << length;
    }
}

TEST(Crc, ComparesFilesWithAList)
{
    Share const share;
    QStringList names;
    for (int i = 0; i < 12; ++i)
        names << share.write(u"%1 x"_q.arg(i), QByteArray(1 << (20 - i), 'x'));
    ToolRun lines(words("crc") + names);
    EXPECT_EQ(lines.status(), 0);
    QString const list = share.write(u"list"_q, lines.output().toUtf8());
    ToolRun intact("crc --check %1", {list});
    EXPECT_EQ(intact.status(), 0) << intact.errors().toStdString();
    EXPECT_TRUE(intact.output().endsWith(u"done             12 intact, 0 changed, 0 failed\n"_q));
    ToolRun json(words("crc --json") + names);
    json.status();
    share.write(u"3 x"_q, "changed");
    QFile::remove(names[5]);
    ToolRun changed("crc --check - --json");
    changed.sendInput(json.output().toUtf8());
    EXPECT_EQ(changed.status(), 3);
    QJsonObject const counts = changed.json().value(u"counts"_q).toObject();
    EXPECT_TRUE(counts[u"changed"_q] == 1 && counts[u"failed"_q] == 1);
    QJsonArray const files = changed.json().value(u"files"_q).toArray();
    ASSERT_EQ(files.size(), 12);
    for (int i = 0; i < 12; ++i) {
        EXPECT_EQ(files[i].toObject().value(u"file"_q), names[i]);
        EXPECT_EQ(files[i].toObject().value(u"intact"_q).toBool(), i != 3 && i != 5);
    }
    expectError("crc --check %1", {share.write(u"list"_q, "crc8\nnone")}, 1,
                u"line 2 is not in the output format of 'oxtool crc'"_q);
}

TEST(Crc, ShowsTheOtherFilesWhenOneCannotBeRead)
{
    ToolRun run("crc missing %1", {goldenPath("small.raw")});
    EXPECT_EQ(run.status(), 5);
    EXPECT_TRUE(run.output().contains(u"5E    87FB   7B3177A3  97B39C7734A0A7B5"_q));
    EXPECT_TRUE(run.errors().contains(u"cannot read 'missing': No such file or directory"_q));
}
