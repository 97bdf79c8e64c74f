# Cross-compiling for bare-metal ARM Cortex-M4 with the arm-none-eabi GCC.
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-none-eabi-gcc)
set(CMAKE_C_FLAGS_INIT "-mcpu=cortex-m4 -mthumb")
# There is no start-up code to link a test program with, so CMake checks
# the compiler by building a static library instead.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Programs (the archiver among them) run on the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
