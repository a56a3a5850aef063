#include "trials/fuzz/Native.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   VelmSdkRpc::fuzz::playNative(PROGRAMMER, {data, size});
   return 0;
}
