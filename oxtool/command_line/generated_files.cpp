#include "oxtool/command_line/generated_files.h"

#include "oxtool/command_line/command_text.h"
#include "oxtool/command_line/completions.h"
#include "oxtool/command_line/man_pages.h"
#include "oxtool/support/failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace ox::tool
{
namespace
{

/// Returns the section "Synopses" of docs/oxtool.md: a line for each command and subcommand.
std::string synopses(Program const & program)
{
    std::string text;
    for (auto const & [path, command] : visibleCommands(program.commands)) {
        if (command->subcommands.empty())
            text += "    " + synopsisOf(program.name + ' ' + path, *command) + '\n';
    }
    return text;
}

void writeFile(QString const & path, std::string const & content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QByteArray const bytes = QByteArray::fromStdString(content);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        throw Failure(QStringLiteral("cannot write '%1': %2").arg(path, file.errorString()));
}

} // namespace

void writeGeneratedFiles(Program const & program, QString const & folder)
{
    QString const name = QString::fromStdString(program.name);
    auto const write = [&folder](QString const & place, std::string const & content) {
        writeFile(folder + u'/' + place, content);
    };
    for (auto const & [page, content] : manPages(program))
        write(QStringLiteral("man/man1/") + QString::fromStdString(page), content);
    write(QStringLiteral("bash-completion/completions/") + name, bashCompletion(program));
    write(QStringLiteral("zsh/site-functions/_") + name, zshCompletion(program));
    write(QStringLiteral("fish/vendor_completions.d/%1.fish").arg(name), fishCompletion(program));
    write(QStringLiteral("doc/%1/synopses.txt").arg(name), synopses(program));
}

} // namespace ox::tool
