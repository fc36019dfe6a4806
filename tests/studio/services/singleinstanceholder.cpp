// Takes the key of the first argument, says "held" or "refused", and ends when its input ends.

#include "services/singleinstance.h"

#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    const VortaQt::SingleInstance guard{QString::fromLocal8Bit(argv[1])};
    std::cout << (guard.isFirst() ? "held" : "refused") << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    return guard.isFirst() ? 0 : 1;
}
