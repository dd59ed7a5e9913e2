#include "app/program.h"

int main(int argc, char** argv) {
    return merlode::runProgram(argc, argv);
}
