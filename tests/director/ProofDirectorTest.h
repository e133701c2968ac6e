#pragma once

// A component in a temporary directory and a director over it, with the director's state in reach.

#include "director/ProofDirector.h"
#include "tests/support/Support.h"

#include <gtest/gtest.h>

#include <memory>

class ProofDirectorTest : public testing::Test
{
protected:
    struct Settings {
        std::string trust = "always";
        unsigned int concurrency = 1;
        int trace = 0;
        std::string driverFilter;
        std::string goalFilter;
        bool fastOnly = false;
        bool xml = false;
    };

    /// Tools that work: the writer writes "Proved" for each goal to the file given with -o, and
    /// prover and reader hand it through.
    test::Driver driverNamed(const std::string& name)
    {
        test::Driver driver;
        driver.name = name;
        driver.writer = dir.script("writer", "for word; do\n"
                                             "  [ \"$before\" = -o ] && file=$word\n"
                                             "  [ \"$word\" = -a ] && text=${text}Proved,\n"
                                             "  before=$word\n"
                                             "done\n"
                                             "echo \"$text\" | tr , '\\n' > \"$file\"");
        driver.prover = "/bin/cat";
        driver.reader = "/bin/cat";
        return driver;
    }

    ProofDirector& make(const std::vector<test::Driver>& drivers,
                        const std::vector<std::vector<test::Goal>>& goals, const Settings& settings)
    {
        const std::string mechanism =
            dir.write("mech.xml", test::mechanismText(settings.trust, drivers));
        posPath = dir.write("comp.pos", test::posText(goals));
        made = std::make_unique<ProofDirector>("comp", mechanism, posPath, dir.path("comp.pog"),
                                               dir.path(), settings.xml, settings.concurrency,
                                               settings.trace, settings.driverFilter,
                                               settings.goalFilter, settings.fastOnly);
        EXPECT_TRUE(made->isLoaded());
        return *made;
    }

    const ProofDirector::obligations_t& obligations() const
    {
        return made->obligations;
    }
    int unprovedCount() const
    {
        return made->unprovedCount;
    }
    const std::vector<ProofDirector::writer_data_t>& writerData() const
    {
        return made->writerData;
    }
    const std::vector<ProofDirector::prover_data_t>& proverData() const
    {
        return made->proverData;
    }
    void setDriver(std::size_t index)
    {
        made->driver = made->mechanism.drivers.at(index);
    }
    void update(ProofDirector::address_t address, const char* word)
    {
        made->updateStatus(address, QString::fromUtf8(word));
    }

    test::TempDir dir;
    std::string posPath;
    std::unique_ptr<ProofDirector> made;
};
