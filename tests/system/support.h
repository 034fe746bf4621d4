#pragma once

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QProcess>
#include <QString>

inline QString operator""_q(char16_t const * text, std::size_t length)
{
    return QString(reinterpret_cast<QChar const *>(text), static_cast<int>(length));
}

/// The path of this program, with the separators that Qt uses.
inline QString executable()
{
    int count = 1;
    char name[] = "tests";
    char * arguments[] = {name, nullptr};
    QCoreApplication const application(count, arguments);
    return QCoreApplication::applicationFilePath();
}

/// Runs the disabled test `Child.name` in a process of its own and returns what it printed.
inline QByteArray runChild(QString const & program, QString const & name)
{
    QProcess child;
    child.start(program,
                {u"--gtest_also_run_disabled_tests"_q, u"--gtest_filter=Child.DISABLED_"_q + name});
    EXPECT_TRUE(child.waitForFinished(30000)) << child.errorString().toStdString();
    return child.readAllStandardOutput();
}
