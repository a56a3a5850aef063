// mpls_route_bulk calls of a thousand adds against tables of few and of nearly all labels.

#include <map>
#include <string>

#include "bench/Routes.h"
#include "bench/SizeBenchmark.h"

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   using Form = Bench::MplsRoutes::Form;
   Bench::MplsRoutes labels;
   Bench::BulkSubject<Bench::MplsRoutes> const subject(labels);
   auto const addForm = [&](CLI::App& app) {
      std::map<std::string, Form> const forms{{"group", Form::group}, {"nexthop", Form::nexthop}, {"vrf", Form::vrf}};
      app.add_option("--form", labels.form, "The forwarding choice of all labels")
         ->transform(CLI::CheckedTransformer(forms))
         ->option_text("group|nexthop|vrf");
   };
   return Bench::sizeBenchmark(argc, argv, {.name = "mpls_route_bulk", .goal = 0.8}, {}, subject, addForm);
}
