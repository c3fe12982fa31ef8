#include "Launcher.h"

int main(int argc, char* argv[]) {
    return Launcher::run(argc, argv);
}
