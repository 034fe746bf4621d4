#include "oxtool/program.h"

int main(int argc, char ** argv)
{
    return ox::tool::runProgram(argc, argv);
}
