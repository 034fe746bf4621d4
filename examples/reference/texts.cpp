// Examples in the reference documentation: texts, times and numbers.

#include "examples/reference/check.h"
#include "shared/formatters.h"
#include "shared/oxshared.h"

#include <sstream>

void fixedStringsExample()
{
    //! [fixed_strings]
    _oxString8_evenSize<250> name = "job17";
    name.add("_left").addNr(7);
    CHECK(name == "job17_left7");
    CHECK(name.indexOf("LEFT") == 6); // ignores case
    CHECK(name.size() == 11 && name.capacity() == 250);

    _oxString<500> path = QStringLiteral("D:\\jobs\\Łódź.oxdb");
    if (path.endsWith(".oxdb"))
        path.remove(path.size() - 5, 5);
    CHECK(QString(path) == QStringLiteral("D:\\jobs\\Łódź"));
    //! [fixed_strings]
}

void stringListExample()
{
    //! [string_list]
    _oxStringList frames;
    for (char const * name : {"shot_2.exr", "Shot_1.exr", "SHOT_2.EXR"})
        frames.append(name, true, false); // unless it is in the list, ignoring case
    frames.sort(false);
    CHECK(frames.count() == 2);
    CHECK(frames[0] == "Shot_1.exr");
    CHECK(frames.find("SHOT_1.EXR", false) == 0);
    //! [string_list]
}

void encodingExample()
{
    //! [encoding]
    QString const folder = QStringLiteral("D:\\jobs\\Łódź");
    QString const stored = oxToOXUTF8(folder, false); // contains only Latin-1
    CHECK(oxFromOXUTF8(stored) == folder);
    CHECK(toXmlString(QStringLiteral("a<b")) == QStringLiteral("a&lt;b"));
    //! [encoding]
}

void numberTextsExample()
{
    //! [number_texts]
    CHECK(oxSec2hms(3725, false) == QStringLiteral("01:02.05"));
    CHECK(oxPointTsd(1234567, false) == QStringLiteral("1.234.567"));

    QString name = QStringLiteral("shot_0001.exr");
    QString extension;
    splitAtLastOccurence(name, extension, QStringLiteral("."), QString(), QString());
    CHECK(name == QStringLiteral("shot_0001") && extension == QStringLiteral(".exr"));
    //! [number_texts]
}

void printingExample()
{
    //! [printing]
    std::ostringstream log;
    log << _oxString8_evenSize<50>("job17") << " started " << _oxTime(1794647107, true) << " on "
        << _oxOS::Linux;
    CHECK(log.str() == "job17 started 2026-11-14T09:05:07Z on Linux");
#ifdef __cpp_lib_format // shared/formatters.h; fmt::format works in the same way
    CHECK(std::format("{:<8}{}", _oxString8_evenSize<50>("job17"), _oxOS::Linux) ==
          "job17   Linux");
#endif
    //! [printing]
}

void timesExample()
{
    //! [times]
    _oxTime started;
    // Second, minute, hour, day, month and year of the local time.
    started.fromDateTime(7, 5, 9, 14, 11, 2026);
    CHECK(started.asString() == QStringLiteral("11.14 09:05.07"));
    CHECK(started.asStringFileName() == QStringLiteral("1114_090507"));

    _oxTime later = started;
    later.value += 60;
    CHECK(later > started);
    CHECK(!started.waitTimeIsOver(60, false, &later)); // not more than 60 s later
    //! [times]
}

void stopwatchExample()
{
    //! [stopwatch]
    oxTimer timer;
    oxSleep(20);
    CHECK(timer.elapsed() >= 10);
    CHECK(timer.restartAndString().endsWith(QStringLiteral("s"))); // ".020s"
    //! [stopwatch]
}

void loadsExample()
{
    //! [loads]
    _oxCPUValue load(0.25F, 8); // a quarter of a machine with 8 cores
    CHECK(load.strSystemPerc() == QStringLiteral("25%"));
    CHECK(load.strCorePerc() == QStringLiteral("200%"));
    load.addbyCore(2); // two more busy cores
    CHECK(load.asCoreFloat() == 4);
    //! [loads]
}

void textExamples()
{
    for (auto const example :
         {fixedStringsExample, stringListExample, encodingExample, numberTextsExample,
          printingExample, timesExample, stopwatchExample, loadsExample})
        example();
}
