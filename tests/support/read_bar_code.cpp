// Prints the frame number that a still picture shows: read_bar_code FILE. Fails where there is none.
#include "tests/support/BarCode.h"

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: read_bar_code FILE\n", stderr);
        return 2;
    }
    const int number = support::ReadBarCodeFromStillFile(argv[1]);
    if (number < 0) return 1;
    std::printf("%d\n", number);
    return 0;
}
