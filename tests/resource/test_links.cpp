#include "tests/resource/Resources.h"

#include <random>

namespace
{

constexpr T_resource_source W = RESOURCE_SOURCE_ORMALIN;
constexpr T_resource_source U = RESOURCE_SOURCE_USER;

T_resource_file* file(T_resource_source source)
{
    return resource_manager->get_file(source);
}

/// The resource of each line, or its text when it defines none; "-" when there is no such file.
std::string shapeOf(T_resource_source source)
{
    std::string shape = file(source) ? "" : "-";
    const T_resource_line* line = file(source) ? file(source)->first_line() : nullptr;
    for (; line != nullptr; line = line->next_line()) {
        shape += line->get_ident() ? line->get_ident()->get_name() : line->get_value().get_text();
    }
    return shape;
}

std::string namesOfResources()
{
    std::string names;
    for (auto* tool = resource_manager->first_tool(); tool; tool = tool->next_tool()) {
        for (auto* ident = tool->first_ident(); ident; ident = ident->next_ident()) {
            names += ident->get_name();
        }
    }
    return names;
}

std::function<void()> deletesLine(T_resource_source source, std::uint32_t n)
{
    return [=] {
        file(source)->delete_line(n);
    };
}

std::function<void()> deletes(const char* resource)
{
    return [=] {
        delete_resource("T", resource);
    };
}

struct DeletionRow {
    const char* label;
    std::function<void()> action;
    const char* workbench; ///< the shapes that are left
    const char* user;
    const char* resources;
};

const DeletionRow DELETIONS[] = {
    {"nothing", [] {}, "!aAAAB!m!end", "!cCM", "AMCB"},
    {"first line of a definition", deletesLine(W, 2), "B!m!end", "!cCM", "MCB"},
    {"middle line of a definition", deletesLine(W, 3), "B!m!end", "!cCM", "MCB"},
    {"last line of a definition", deletesLine(W, 4), "B!m!end", "!cCM", "MCB"},
    {"resource", deletes("A"), "B!m!end", "!cCM", "MCB"},
    {"line of a comment", deletesLine(W, 1), "AAAB!m!end", "!cCM", "AMCB"},
    {"comment, then its resource",
     [] {
         file(W)->delete_line(1);
         delete_resource("T", "A");
     },
     "B!m!end", "!cCM", "MCB"},
    {"comment without resource",
     [] {
         delete file(W)->get_line(8)->get_item();
     },
     "!aAAAB!m", "!cCM", "AMCB"},
    {"line of a comment without resource", deletesLine(W, 8), "!aAAAB!m", "!cCM", "AMCB"},
    {"resource with its comment in another file", deletes("M"), "!aAAAB!end", "!cC", "ACB"},
    {"line of it", deletesLine(U, 3), "!aAAAB!end", "!cC", "ACB"},
    {"line right below its comment", deletesLine(U, 2), "!aAAAB!m!end", "M", "AMB"},
    {"file of the comment, then the resource",
     [] {
         delete_ormalin_resources();
         delete_resource("T", "M");
     },
     "-", "!cC", "C"},
    {"file of the resource", delete_user_resources, "!aAAAB!end", "-", "AB"},
    {"tool across files",
     [] {
         delete_tool_resources("T");
     },
     "B!end", "", "B"},
    {"first tool",
     [] {
         delete_tool_resources(nullptr);
     },
     "B!end", "", "B"},
    {"first of two tools of one name",
     [] {
         resource_manager->set_tool("T")->set_resource("X", "x", nullptr);
         delete_tool_resources("T");
     },
     "B!end", "X", "BX"},
    {"all tools", delete_all_resources, "!end", "", ""},
};

} // namespace

TEST_F(Resources, WhateverGoesFirstTakesItsDependantsAlong)
{
    for (const DeletionRow& row : DELETIONS) {
        SCOPED_TRACE(row.label);
        delete resource_manager;
        resource_manager = new T_resource_manager;
        // M moves to the user's file, its comment stays behind: line 7 is missing then.
        loadWorkbench("!a\nORN*T*A: \\\n\\\na\nORN*S*B: b\n!m\nORN*T*M: 1\n!end\n");
        loadUser("!c\nORN*T*C: c\n");
        set_resource("T", "M", "2");
        row.action();
        check();
        EXPECT_EQ(shapeOf(W), row.workbench);
        EXPECT_EQ(shapeOf(U), row.user);
        EXPECT_EQ(namesOfResources(), row.resources);
    }
}

TEST_F(Resources, LinksHoldThroughAnyMixOfOperations)
{
    std::mt19937 random(20);
    const auto below = [&](unsigned n) {
        return static_cast<unsigned>(random() % n);
    };
    const auto tool = [&] {
        return std::string(1, static_cast<char>('S' + below(3)));
    };
    const auto name = [&] {
        return std::string(1, static_cast<char>('A' + below(5)));
    };
    const auto text = [&] {
        std::string lines;
        for (unsigned left = below(14); left > 0; --left) {
            const char* const values[] = {"v", "\\\nw", "\\\n\\\n x", "", "\\"};
            lines += below(3) == 0 ? "! c\n" : "ORN*" + tool() + "*" + name() + ": ";
            lines += lines.back() == '\n' ? "" : values[below(5)] + std::string("\n");
        }
        return lines;
    };
    const std::function<void()> operations[] = {
        [&] {
            loadWorkbench(text());
        },
        [&] {
            loadUser(text());
        },
        [&] {
            loadExplicit(text());
        },
        [&] {
            set_resource(tool().c_str(), name().c_str(), "set");
        },
        [&] {
            set_resource(tool().c_str(), name().c_str(), "set");
        },
        [&] {
            delete_resource(tool().c_str(), name().c_str());
        },
        [&] {
            delete_tool_resources(tool().c_str());
        },
        [&] {
            T_resource_file* const any = file(static_cast<T_resource_source>(below(3)));
            if (any != nullptr) {
                any->delete_line(below(12));
            }
        },
        [&] {
            resource_manager->delete_file(static_cast<T_resource_source>(below(3)));
        },
        [&] {
            resource_manager->set_tool(tool().c_str());
        },
    };
    messages([&] {
        for (int step = 0; step < 5000 && !HasFailure(); ++step) {
            SCOPED_TRACE(step);
            operations[below(std::size(operations))]();
            check();
        }
    });
}
