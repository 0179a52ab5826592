# Cross build for armhf Linux with Debian's cross compiler (arm-linux-gnueabihf-g++) and the target's
# libraries installed through multiarch (libhwy-dev:armhf). Tests run under qemu-user.
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-armhf.cmake -DQV_GTEST_FROM_SOURCE=ON
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
# Target libraries come from the multiarch directories (/usr/lib/<triple>), programs from the host.
# CTest runs the test programs (and gtest_discover_tests lists their tests) through qemu, on the
# cross toolchain's own C and C++ libraries: -L gives its loader, and LD_LIBRARY_PATH keeps that
# loader from taking libc from /lib/arm-linux-gnueabihf (the multiarch libc6 that libhwy1 brings along),
# a different glibc build with which new threads hang.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH=/usr/arm-linux-gnueabihf/lib)
