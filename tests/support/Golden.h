#pragma once

// Long texts that a test expects, in files that can be read as they are: tests/FOLDER/golden. A
// mismatch shows the lines that differ. With MECHRUN_UPDATE_GOLDEN in the environment the files are
// written anew; what changed in them is then for the reviewer to judge.

#include <functional>
#include <string>

namespace test
{

/// Compares a text with the golden file `name` of tests/.
void expectGolden(const std::string& name, const std::string& text);

/// Compares what becomes of each case of a golden file with what the file says. A case is
///
///     == its label
///     input, given to `answer` without its last end of line
///     --
///     the answer
void expectCases(const std::string& name,
                 const std::function<std::string(const std::string& input)>& answer);

} // namespace test
