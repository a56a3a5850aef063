// Chaos around an agent: it is killed, ended, and made to fail; its clients stop, die and vanish; storms go over it.
// Scale.h tells how much of everything there is.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "trials/chaos/Reader.h"
#include "trials/chaos/Scale.h"

int main(int argc, char** argv) {
   using VelmSdkRpc::chaos::Scale;
   if (argc == 5 && std::string(argv[1]) == "--read") {
      VelmSdkRpc::chaos::Reader::run(argv[2], std::stoi(argv[3]), *argv[4] == '1');
   }
   ::testing::InitGoogleTest(&argc, argv);
   if (!GTEST_FLAG_GET(list_tests)) fmt::print("seed {}, {} rounds\n", Scale::get().seed, Scale::get().rounds);
   std::fflush(stdout);
   return RUN_ALL_TESTS();
}
