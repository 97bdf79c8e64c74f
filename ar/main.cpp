#include "ar/ar_driver.h"

int main(int argc, char** argv) {
    run_archiver(argc, argv);
}
