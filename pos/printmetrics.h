#pragma once

// The closing block of a run's report: the totals of the component.

#include <string>

/// Prints the totals of the POS file at `posPath` on standard output, where they close the report:
/// plain text, or with `xml` the XML-like form, including the end of the report's outermost
/// element. `componentName` is the name shown. A file that cannot be read is reported there, and
/// zero totals follow; an unknown status word in it raises std::out_of_range.
void print_metrics(const std::string& posPath, bool xml, const std::string& componentName);
