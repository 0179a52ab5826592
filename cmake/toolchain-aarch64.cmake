# Cross build for aarch64 Linux with Debian's cross compiler (aarch64-linux-gnu-g++) and the target's
# libraries installed through multiarch (libhwy-dev:arm64). Tests run under qemu-user.
#   cmake -S . -B build-aarch64 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-aarch64.cmake -DQV_GTEST_FROM_SOURCE=ON
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
# Target libraries come from the multiarch directories (/usr/lib/<triple>), programs from the host.
# CTest runs the test programs (and gtest_discover_tests lists their tests) through qemu, on the
# cross toolchain's own C and C++ libraries: -L gives its loader, and LD_LIBRARY_PATH keeps that
# loader from taking libc from /lib/aarch64-linux-gnu (the multiarch libc6 that libhwy1 brings along),
# a different glibc build with which new threads hang.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L /usr/aarch64-linux-gnu -E LD_LIBRARY_PATH=/usr/aarch64-linux-gnu/lib)
