#include "oxtool/commands/commands.h"
#include "oxtool/support/report.h"
#include "shared/data/data_buffer.h"
#include "shared/text/fixed_string.h"
#include "shared/text/fixed_string8.h"
#include "shared/text/string_list.h"
#include "shared/time/time_value.h"

#include <QJsonArray>

#include <cstddef>
#include <utility>

namespace ox::tool
{
namespace
{

struct Field {
    char const * name;
    std::size_t offset;
};

struct Record {
    QString name;
    std::size_t size;
    std::vector<Field> fields;
};

using Records = std::vector<Record>;

template <template <int> typename String, int... N>
void addStrings(Records & records, char const * name, std::integer_sequence<int, N...>)
{
    (records.push_back(
         {QStringLiteral("%1<%2>").arg(QString::fromLatin1(name)).arg(N),
          sizeof(String<N>),
          {{"value", offsetof(String<N>, value)}, {"length", offsetof(String<N>, length)}}}),
     ...);
}

Records allRecords()
{
    Records records;
    addStrings<_oxString8_evenSize>(records, "_oxString8_evenSize", text::EvenCapacities8());
    addStrings<_oxString8_UnevenSize>(records, "_oxString8_UnevenSize", text::UnevenCapacities8());
    addStrings<_oxString8_AllSize>(records, "_oxString8_AllSize", text::AllSizeCapacities8());
    addStrings<_oxString>(records, "_oxString", text::WideCapacities());
    records.push_back({QStringLiteral("_oxStringList"), sizeof(_oxStringList), {}});
    records.push_back(
        {QStringLiteral("_oxTime"), sizeof(_oxTime), {{"value", offsetof(_oxTime, value)}}});
    records.push_back(
        {QStringLiteral("_oxTime32"), sizeof(_oxTime32), {{"value", offsetof(_oxTime32, value)}}});
    using Buffer = _OX_DataBuffer;
    records.push_back({QStringLiteral("_OX_DataBuffer"),
                       sizeof(Buffer),
                       {{"headerValue0", offsetof(Buffer, headerValue0)},
                        {"size", offsetof(Buffer, size)},
                        {"sizeUncompressed", offsetof(Buffer, sizeUncompressed)},
                        {"dataOffset", offsetof(Buffer, dataOffset)},
                        {"crc", offsetof(Buffer, crc)},
                        {"headerValue1", offsetof(Buffer, headerValue1)},
                        {"headerValue2", offsetof(Buffer, headerValue2)},
                        {"isCompressed", offsetof(Buffer, isCompressed)},
                        {"sizeAllocated", offsetof(Buffer, sizeAllocated)},
                        {"data", offsetof(Buffer, data)},
                        {"error", offsetof(Buffer, error)}}});
    return records;
}

QString lineOf(Record const & record)
{
    QString line = QStringLiteral("%1 %2 ").arg(record.name, -28).arg(record.size, 5);
    for (Field const & field : record.fields)
        line += QStringLiteral(" %1@%2").arg(QString::fromLatin1(field.name)).arg(field.offset);
    return line;
}

QJsonObject jsonOf(Record const & record)
{
    QJsonArray fields;
    for (Field const & field : record.fields)
        fields.append(QJsonObject{{QStringLiteral("name"), QString::fromLatin1(field.name)},
                                  {QStringLiteral("offset"), static_cast<qint64>(field.offset)}});
    return {{QStringLiteral("name"), record.name},
            {QStringLiteral("size"), static_cast<qint64>(record.size)},
            {QStringLiteral("fields"), fields}};
}

void layout(Report & report)
{
    QJsonArray all;
    report.text(QStringLiteral("record                       bytes  field@offset"));
    for (Record const & record : allRecords()) {
        all.append(jsonOf(record));
        report.text(lineOf(record));
    }
    report.set(QStringLiteral("records"), all);
}

} // namespace

Command layoutCommand()
{
    auto const json = std::make_shared<bool>(false);
    return {.name = "layout",
            .group = Group::Diagnosis,
            .summary = "Show the size and the field offsets of each record, in bytes",
            .options = {jsonOption(*json)},
            .examples = {"oxtool layout | grep _oxTime"},
            .run = [json] { return runReported(*json, layout); }};
}

} // namespace ox::tool
