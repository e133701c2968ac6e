#include "pos/printmetrics.h"
#include "pos/pos.h"

#include <iostream>

void print_metrics(const std::string& posPath, bool xml, const std::string& componentName)
{
    pos::metrics_t metrics;
    if (!pos::getMetrics(posPath, metrics)) {
        // The plain form has no blank after "Error": the workbench knows the line as it is.
        std::cout << (xml ? "<error>" : "Error") << "File not readable " << posPath
                  << (xml ? "</error>" : "") << '\n'
                  << std::flush;
    }
    std::cout << (xml ? "" : "End of proof") << '\n' << std::flush;
    std::cout << (xml ? "<proofResult>\n" : "") << '\n' << std::flush;
    std::cout << (xml ? "<total>" : "") << "TOTAL for " << componentName //
              << "\t Proved " << metrics.proved                          //
              << "\t Proved externally " << metrics.provedExternally     //
              << "\t Unreliably proved " << metrics.unreliablyProved     //
              << "\t Disproved " << metrics.disproved                    //
              << "\t Unproved " << metrics.unproved                      //
              << (xml ? "</total>" : "") << '\n'
              << std::flush;
    if (xml) {
        std::cout << "</proofResult>\n"
                  << "</proof>\n";
    }
}
