#include "oxtool/commands/commands.h"
#include "oxtool/support/buffer_file.h"
#include "oxtool/support/names.h"
#include "oxtool/support/report.h"
#include "shared/data/checksum.h"
#include "shared/platform/files.h"

#include <QtEndian>

#include <optional>

namespace ox::tool
{
namespace
{

struct Options {
    QString file;
    bool json = false;
};

struct HeaderWord {
    char const * name;
    std::int32_t _OX_DataBuffer::*word;
};

constexpr HeaderWord headerWords[] = {
    {"headerValue0", &_OX_DataBuffer::headerValue0},
    {"size", &_OX_DataBuffer::size},
    {"sizeUncompressed", &_OX_DataBuffer::sizeUncompressed},
    {"dataOffset", &_OX_DataBuffer::dataOffset},
    {"headerValue1", &_OX_DataBuffer::headerValue1},
    {"headerValue2", &_OX_DataBuffer::headerValue2},
    {"isCompressed", &_OX_DataBuffer::isCompressed},
};

QString formatText(Format format)
{
    switch (format) {
    case Format::Plain:
        return QStringLiteral("db, plain");
    case Format::Compressed:
        return QStringLiteral("zp, compressed");
    case Format::CompressAndSave:
        return QStringLiteral("ns, compress-and-save");
    case Format::Gzip:
        break;
    }
    return QStringLiteral("gz, bare gzip");
}

template <typename Work>
std::optional<Failure> failureOf(Work const & work)
{
    try {
        work();
    } catch (Failure const & failure) {
        return failure;
    }
    return std::nullopt;
}

/// Shows the header of a buffer file, and verifies its content.
class Inspection
{
  public:
    Inspection(QString const & path, Report & report)
        : path_(path), format_(formatOf(path)), report_(report)
    {
    }

    void run()
    {
        showFile();
        if (format_ != Format::Gzip && loadHeader())
            showHeader();
        auto failure = failureOf([this] { loadBufferFile(path_, format_, loaded_); });
        showCrc();
        if (!failure && format_ == Format::CompressAndSave)
            failure = failureOf([this] { decompressPayload(path_, loaded_, decompressed_); });
        showVerdict(failure);
    }

  private:
    void show(char const * label, char const * name, QJsonValue const & value, QString const & text)
    {
        report_.set(QString::fromLatin1(name), value);
        report_.line(QString::fromLatin1(label), text);
    }

    void showFile()
    {
        auto const status = platform::fileStatus(nativeName(path_));
        std::int64_t const size = status ? status->size : 0;
        std::int64_t const modified = status ? status->modified : 0;
        show("file", "file", path_, path_);
        show("format", "format", formatName(format_), formatText(format_));
        show("file size", "size", static_cast<qint64>(size), sizeText(size));
        show("modified", "modified", jsonTime(modified), timeText(modified));
    }

    bool loadHeader()
    {
        char * const header = headerOf(header_);
        int const code =
            isInGzip(format_)
                ? _OX_DataBuffer::loadFromFileCompressed(path_, true, header, headerSize, nullptr,
                                                         0)
                : _OX_DataBuffer::loadFromFile(path_, true, header, headerSize, nullptr, 0);
        hasHeader_ = code == 0;
        return hasHeader_;
    }

    void showHeader()
    {
        QJsonObject json;
        for (HeaderWord const & entry : headerWords) {
            qint64 const value = header_.*entry.word;
            json.insert(QString::fromLatin1(entry.name), value);
            report_.line(QString::fromLatin1(entry.name), QString::number(value));
        }
        json.insert(QStringLiteral("crc"), hexText(header_.crc));
        report_.line(QStringLiteral("crc"), hexText(header_.crc));
        report_.set(QStringLiteral("header"), json);
    }

    /// Returns the stored CRC: from the trailer of a gzip stream, otherwise from the header.
    std::optional<quint32> storedCrc() const
    {
        if (!isInGzip(format_))
            return hasHeader_ ? std::optional(header_.crc) : std::nullopt;
        auto const trailer = bytesAt(path_, -8, 4);
        return trailer && trailer->size() == 4
                   ? std::optional(qFromLittleEndian<quint32>(trailer->constData()))
                   : std::nullopt;
    }

    /// Returns the CRC of the loaded content; empty if the content could not be loaded.
    std::optional<quint32> computedCrc() const
    {
        if (isInGzip(format_))
            return loaded_.error == 0 ? std::optional(contentCrc()) : std::nullopt;
        bool const isRead = loaded_.error == 0 || loaded_.error == _OX_DataBuffer::Corrupt;
        return hasHeader_ && isRead ? std::optional(loaded_.crc) : std::nullopt;
    }

    /// Returns the CRC of the decompressed gzip stream: magic and header (if present), then data.
    quint32 contentCrc() const
    {
        unsigned int crc = 0xFFFFFFFF;
        auto const add = [&crc](void const * bytes, int size) {
            oxCRCPartial(&crc, static_cast<unsigned char const *>(bytes),
                         static_cast<unsigned int>(size));
        };
        oxCRCInitialize();
        if (hasHeader_) {
            add("oxZP", 4);
            add(&header_, headerSize);
        }
        add(loaded_.data, loaded_.size);
        return ~crc;
    }

    void showCrc()
    {
        auto const stored = storedCrc();
        auto const computed = computedCrc();
        QString const none = QStringLiteral("none");
        QString const storedText = stored ? hexText(*stored) : none;
        QString const computedText = computed ? hexText(*computed) : none;
        report_.set(QStringLiteral("crcStored"), stored ? QJsonValue(storedText) : QJsonValue());
        report_.set(QStringLiteral("crcComputed"),
                    computed ? QJsonValue(computedText) : QJsonValue());
        report_.line(isInGzip(format_) ? QStringLiteral("gzip CRC-32") : QStringLiteral("CRC-32"),
                     QStringLiteral("%1 stored, %2 computed").arg(storedText, computedText));
    }

    void showVerdict(std::optional<Failure> const & failure)
    {
        if (failure) {
            bool const damaged = isDamage(loaded_.error);
            report_.set(QStringLiteral("intact"), damaged ? QJsonValue(false) : QJsonValue());
            report_.line(verdictLabel_,
                         damaged ? QStringLiteral("damaged") : QStringLiteral("unknown"));
            throw Failure(*failure);
        }
        report_.set(QStringLiteral("intact"), true);
        _OX_DataBuffer const & payload =
            format_ == Format::CompressAndSave ? decompressed_ : loaded_;
        report_.set(QStringLiteral("payload"), payload.size);
        report_.line(QStringLiteral("payload"), sizeText(payload.size));
        report_.line(verdictLabel_, verdictText());
    }

    QString verdictText() const
    {
        if (hasHeader_ && header_.size != loaded_.size)
            return QStringLiteral("intact, but the header states a size of %1")
                .arg(sizeText(header_.size));
        return QStringLiteral("intact");
    }

    QString const verdictLabel_ = QStringLiteral("verdict");
    QString path_;
    Format format_;
    Report & report_;
    bool hasHeader_ = false;
    _OX_DataBuffer header_;
    _OX_DataBuffer loaded_;
    _OX_DataBuffer decompressed_;
};

} // namespace

Command inspectCommand()
{
    auto const options = std::make_shared<Options>();
    return {.name = "inspect",
            .group = Group::BufferFiles,
            .summary = "Show the header of a buffer file, and verify its checksum",
            .details = "The exit status is 3 for a damaged file.",
            .options = {{.name = "BUFFER_FILE",
                         .help = "Buffer file of any format",
                         .target = &options->file,
                         .isRequired = true},
                        jsonOption(options->json)},
            .examples = {"oxtool inspect /mnt/share/jobs/job17.oxdb"},
            .run = reporting(options, [](Options const & given, Report & report) {
                Inspection(given.file, report).run();
            })};
}

} // namespace ox::tool
