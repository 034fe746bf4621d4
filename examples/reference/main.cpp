// Runs the examples of the reference documentation:
//   reference_examples FOLDER     FOLDER: an empty folder for their files

#include "examples/reference/check.h"

#include <QString>

void textExamples();
void fileExamples(QString const & folder);
void systemExamples(int argc, char ** argv, QString const & folder);

int main(int argc, char ** argv)
{
    CHECK(argc == 2);
    QString const folder = QString::fromLocal8Bit(argv[1]) + QChar(u'/');
    textExamples();
    fileExamples(folder);
    systemExamples(argc, argv, folder);
}
