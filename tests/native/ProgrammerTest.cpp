#include "tests/native/ProgrammerTest.h"

namespace VelmSdkRpc {

ProgrammerTest::ProgrammerTest()
   : service(nullptr, nullptr, &sessions, &intfs, nullptr, &ipRoutes, &mplsRoutes, &vrfLabels, &groups, &tunnels,
             nullptr),
     client(service, &ipRoutes, &mplsRoutes, &vrfLabels, &groups, &tunnels) {}

ProgrammerTest::~ProgrammerTest() = default;

}  // namespace VelmSdkRpc
