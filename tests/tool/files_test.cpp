#include "shared/data/checksum.h"
#include "tests/support/file_content.h"
#include "tests/support/golden.h"
#include "tests/tool/share.h"
#include "tests/tool/tool_run.h"

#include <gtest/gtest.h>

#include <QJsonArray>

using namespace ox::tests;

namespace
{

QStringList inspect(QString const & file)
{
    return {QStringLiteral("inspect"), file, QStringLiteral("--json")};
}

QString crc64Of(ToolRun && run)
{
    QJsonValue const file = run.json().value(QStringLiteral("files")).toArray().at(0);
    return file.toObject().value(QStringLiteral("crc64")).toString();
}

QString hex(quint64 value, int digits)
{
    return QStringLiteral("%1").arg(value, digits, 16, QLatin1Char('0')).toUpper();
}

} // namespace

TEST(Inspect, DetectsTheFormatOfFilesOfAnotherProgram)
{
    struct Case {
        char const * file;
        char const * format;
        int isCompressed;
    };
    for (Case const & each : {Case{"binary.oxdb", "db", 0}, Case{"binary.oxzp", "zp", 0},
                              Case{"binary.oxns", "ns", 1}, Case{"binary.gz", "gz", -1}}) {
        ToolRun run(inspect(goldenPath(each.file)));
        EXPECT_EQ(run.status(), 0) << each.file;
        QJsonObject const json = run.json();
        QJsonObject const header = json.value(QStringLiteral("header")).toObject();
        EXPECT_EQ(json.value(QStringLiteral("format")), QString::fromLatin1(each.format));
        EXPECT_EQ(json.value(QStringLiteral("payload")), 70001);
        EXPECT_EQ(header.value(QStringLiteral("isCompressed")).toInt(-1), each.isCompressed);
        EXPECT_EQ(json.value(QStringLiteral("crcStored")),
                  json.value(QStringLiteral("crcComputed")));
        EXPECT_EQ(json.value(QStringLiteral("crcStored")).toString().size(), 8) << each.file;
    }
}

TEST(Inspect, ShowsBothChecksumsOfADamagedFileAndFails)
{
    Share const share;
    for (char const * name : {"text.oxdb", "text.oxns", "text.oxzp", "text.gz"}) {
        QByteArray const good = goldenFile(name);
        QByteArray flipped = good;
        flipped[good.size() - 20] = static_cast<char>(flipped[good.size() - 20] ^ 8);
        for (QByteArray const & bad : {flipped, good.left(good.size() - 10), good.left(20)}) {
            ToolRun run(inspect(share.write(QStringLiteral("bad"), bad)));
            EXPECT_EQ(run.status(), 1) << name << bad.size();
            EXPECT_FALSE(run.json().value(QStringLiteral("intact")).toBool(true)) << name;
            EXPECT_NE(run.json().value(QStringLiteral("crcStored")),
                      run.json().value(QStringLiteral("crcComputed")).toString(QStringLiteral("-")))
                << name;
        }
    }
}

TEST(Inspect, DoesNotReportAnUnreadableFileAsDamaged)
{
    Share const share;
    ToolRun run(inspect(share.writeSparse(QStringLiteral("large"), qint64{800} << 20)));
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.json().value(QStringLiteral("intact")).isNull());
    EXPECT_TRUE(run.errors().contains(QLatin1String("Unable to allocate memory")));
}

TEST(Pack, WritesWhatUnpackAndOtherProgramsRead)
{
    QByteArray const payload = goldenFile("binary.raw");
    for (char const * format : {"db", "zp", "ns", "gz"}) {
        Share const share;
        QString const file = share.path(QString::fromLatin1(format));
        ToolRun pack({QStringLiteral("pack"), goldenPath("binary.raw"), file,
                      QStringLiteral("--format"), QString::fromLatin1(format),
                      QStringLiteral("--header"), QStringLiteral("11"), QStringLiteral("-22"),
                      QStringLiteral("33")});
        EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
        QJsonObject const header =
            ToolRun(inspect(file)).json().value(QStringLiteral("header")).toObject();
        EXPECT_EQ(header.value(QStringLiteral("headerValue1")).toInt(-22), -22) << format;

        ToolRun unpack({QStringLiteral("unpack"), file, QStringLiteral("--out"),
                        share.path(QStringLiteral("out"))});
        EXPECT_EQ(unpack.status(), 0) << unpack.errors().toStdString();
        EXPECT_EQ(contentOf(share.path(QStringLiteral("out"))), payload) << format;

        EXPECT_TRUE(toolShell().succeeds("\"$0\" unpack \"$1\" | cmp - \"$2\"",
                                         {file, goldenPath("binary.raw")}))
            << format;
    }
}

TEST(Pack, ReadsTheStandardInput)
{
    QByteArray const payload = QByteArray("\x1A\r\nline\n\0", 9).repeated(400000);
    for (char const * input : {"-", "/dev/stdin"}) {
        Share const share;
        QString const packed = share.path(QStringLiteral("packed"));
        ToolRun pack({QStringLiteral("pack"), QString::fromLatin1(input), packed});
        pack.sendInput(payload);
        EXPECT_EQ(pack.status(), 0) << pack.errors().toStdString();
        EXPECT_EQ(contentOf(packed).mid(36), payload) << input;

        ToolRun empty({QStringLiteral("pack"), QString::fromLatin1(input), packed});
        empty.sendInput({});
        EXPECT_EQ(empty.status(), 1);
        EXPECT_TRUE(empty.errors().contains(QLatin1String("it is empty"))) << input;

        ToolRun sums({QStringLiteral("crc"), QString::fromLatin1(input), QStringLiteral("--json")});
        sums.sendInput(goldenFile("binary.raw"));
        EXPECT_EQ(crc64Of(std::move(sums)),
                  crc64Of(ToolRun(
                      {QStringLiteral("crc"), goldenPath("binary.raw"), QStringLiteral("--json")})))
            << input;
    }
}

TEST(Pack, RefusesAnEmptyFileAndLeavesNothing)
{
    Share const share;
    QString const empty = share.write(QStringLiteral("empty"), {});
    ToolRun run({QStringLiteral("pack"), empty, share.path(QStringLiteral("out"))});
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.errors().contains(QLatin1String("it is empty")));
    EXPECT_EQ(share.names().size(), 1);
}

TEST(Unpack, FailsForAMissingFileOfEveryFormat)
{
    for (char const * format : {"db", "zp", "ns", "gz"}) {
        ToolRun run({QStringLiteral("unpack"), QStringLiteral("missing"),
                     QStringLiteral("--format"), QString::fromLatin1(format)});
        EXPECT_EQ(run.status(), 1) << format;
        EXPECT_TRUE(run.errors().contains(QLatin1String("No such file or directory"))) << format;
    }
}

TEST(Crc, ComputesAllWidthsOverFilesOfManyPieces)
{
    QByteArray longer(3 * 1024 * 1024 + 1, '\0');
    for (int i = 0; i < longer.size(); ++i)
        longer[i] = static_cast<char>(i % 251 + i / 77);
    Share const share;
    for (int const length :
         {0, 1, 7, 1024 * 1024, 1024 * 1024 + 1, 1024 * 1024 + 9, 3 * 1024 * 1024 + 1}) {
        QByteArray const bytes = longer.left(length);
        auto const * data = reinterpret_cast<unsigned char const *>(bytes.constData());
        auto const count = static_cast<unsigned int>(length);
        ToolRun run({QStringLiteral("crc"), share.write(QStringLiteral("bytes"), bytes),
                     QStringLiteral("--json")});
        QJsonObject const json =
            run.json().value(QStringLiteral("files")).toArray().at(0).toObject();
        EXPECT_EQ(json.value(QStringLiteral("crc8")), hex(oxCRCCalc8(data, count, false), 2))
            << length;
        EXPECT_EQ(json.value(QStringLiteral("crc16")), hex(oxCRCCalc16(data, count), 4)) << length;
        EXPECT_EQ(json.value(QStringLiteral("crc32")), hex(oxCRCCalc(data, count), 8)) << length;
        EXPECT_EQ(json.value(QStringLiteral("crc64")), hex(oxCRCCalc64(data, count), 16)) << length;
    }
}

TEST(Crc, ShowsTheOtherFilesWhenOneCannotBeRead)
{
    ToolRun run({QStringLiteral("crc"), QStringLiteral("missing"), goldenPath("small.raw")});
    EXPECT_EQ(run.status(), 1);
    EXPECT_TRUE(run.output().contains(QLatin1String("5E    87FB   7B3177A3  97B39C7734A0A7B5")));
    EXPECT_TRUE(
        run.errors().contains(QLatin1String("cannot read 'missing': No such file or directory")));
}
