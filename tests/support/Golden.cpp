#include "tests/support/Golden.h"

#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace test
{

void expectGolden(const std::string& name, const std::string& text)
{
    const std::string path = TESTS_FOLDER "/" + name;
    if (std::getenv("MECHRUN_UPDATE_GOLDEN") != nullptr) {
        std::ofstream(path, std::ios::binary) << text;
    }
    EXPECT_NE(text, "") << path;
    std::istringstream expected(contentOf(path));
    std::istringstream found(text);
    for (int number = 1; expected || found; ++number) {
        std::string wanted = "(the end)";
        std::string line = wanted;
        std::getline(expected, wanted);
        std::getline(found, line);
        ASSERT_EQ(line, wanted) << "in line " << number << " of " << path;
    }
}

void expectCases(const std::string& name,
                 const std::function<std::string(const std::string& input)>& answer)
{
    std::istringstream file(contentOf(TESTS_FOLDER "/" + name));
    std::string found;
    std::string input;
    bool answered = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("== ", 0) == 0) {
            input.clear();
            answered = false;
            found += line + "\n";
        } else if (line == "--") {
            answered = true;
            input.erase(input.empty() ? 0 : input.size() - 1);
            found += line + "\n" + answer(input);
            found += found.back() == '\n' ? "" : "(no end of line)\n";
        } else if (!answered) {
            input += line + "\n";
            found += line + "\n";
        }
    }
    expectGolden(name, found);
}

} // namespace test
