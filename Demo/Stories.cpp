#include "Demo/Stories.h"

#include "Platform/Text.h"

#include <algorithm>

namespace demo
{

using std::chrono::milliseconds;
using tessarin::JsonObject;

static const std::string note = "\n\n*Played by the demonstration: no file was read or changed.*";

static const std::vector<std::string> reviewSteps
    = { "Run all tests", "Collect what changed", "Check the edge cases", "Look for other places that count columns", "Report" };

// The first line of a prompt, short enough to be quoted.
static std::string quoted(std::string_view prompt)
{
    const std::string_view line = tessarin::firstLine(tessarin::trimmed(prompt));
    const std::string_view start = tessarin::firstCharacters(line, 90);
    return "“" + std::string(start) + (start.size() < line.size() ? "…" : "") + "”";
}

static ToolCall run(const std::string& title, const std::string& command, const std::string& output, milliseconds duration)
{
    return { "execute", "Run " + title, JsonObject{ { "command", command } }, output, duration };
}

static ToolCall testRun(int count)
{
    return run("all tests", "python3 -m pytest -q",
        std::string(static_cast<std::size_t>(count), '.') + " [100%]\n" + std::to_string(count) + " passed in 0.01s\n", milliseconds(1600));
}

static ToolCall reproduction()
{
    return run(
        "advance on a tab", "python3 -c 'from src.position import advance; print(advance(1, 3, \"\\t\"))'", "(1, 4)\n", milliseconds(900));
}

static ToolCall diffRun()
{
    return run("git diff --stat", "git diff --stat",
        " src/position.py        | 5 +++++\n tests/test_position.py | 4 ++++\n 2 files changed, 9 insertions(+)\n", milliseconds(700));
}

static ToolCall search()
{
    return { "search", "Search for “column”", JsonObject{ { "pattern", "column" }, { "path", "src" } },
        "src/position.py:1:def advance(line, column, character):\nsrc/position.py:4:    return line, column + 1\n", milliseconds(500) };
}

static ToolCall reading(const std::string& path)
{
    return { "read", "Read " + path, JsonObject{ { "path", path } }, "", milliseconds(450) };
}

static const std::string functionBefore = "def advance(line, column, character):\n"
                                          "    if character == \"\\n\":\n"
                                          "        return line + 1, 1\n"
                                          "    return line, column + 1\n";
static const std::string functionAfter = "TAB_WIDTH = 8\n\n\n"
                                         "def advance(line, column, character):\n"
                                         "    if character == \"\\n\":\n"
                                         "        return line + 1, 1\n"
                                         "    if character == \"\\t\":\n"
                                         "        return line, (column - 1) // TAB_WIDTH * TAB_WIDTH + TAB_WIDTH + 1\n"
                                         "    return line, column + 1\n";

static ToolCall edit(const std::string& path, JsonObject change)
{
    change["path"] = path;
    return { "edit", "Edit " + path, std::move(change), "", milliseconds(900) };
}

Turn workingTurn(const std::string& idPrefix, std::string_view prompt)
{
    const std::vector<std::string> steps = { "Find where positions are counted", "Reproduce the wrong column", "Correct the counting",
        "Add a test that holds it", "Run all tests" };
    TurnWriter turn(idPrefix);
    turn.thinks("The request is " + quoted(prompt)
        + ". I should see how positions are counted before I touch anything, and have a failing case in hand.");
    turn.plansUpTo(0, steps).says("I start with the code that counts positions.").calls(search()).calls(reading("src/position.py"));
    turn.plansUpTo(1, steps)
        .thinks("`advance` adds one column for every character. A tab moves to the next tab stop, so everything after it is reported too "
                "far to the left.")
        .calls(reproduction());
    turn.plansUpTo(2, steps)
        .says("Column 4 where it should be 9: the fault is reproduced. Now the correction and its test.")
        .calls(edit("src/position.py", { { "oldText", functionBefore }, { "newText", functionAfter } }));
    turn.plansUpTo(3, steps).calls(edit("tests/test_position.py",
        { { "newText", "\n\ndef test_a_tab_goes_to_the_next_stop():\n    assert advance(1, 3, \"\\t\") == (1, 9)\n" } }));
    turn.plansUpTo(4, steps).calls(testRun(2));
    turn.plansUpTo(5, steps).says("## A tab now counts as what it is\n\n"
                                  "Every character moved the column by one, **also a tab**. So each tab shifted what came after it:\n\n"
                                  "- `advance` goes to the next tab stop, every 8 columns\n"
                                  "- a test holds the case that was reported\n"
                                  "- nothing else changed: a line feed still begins a line at column 1\n\n"
                                  "| text before | reported before | reported now |\n"
                                  "|---|---:|---:|\n"
                                  "| `ab⇥` | 4 | 9 |\n"
                                  "| `⇥⇥` | 3 | 17 |\n"
                                  "| `abc` | 4 | 4 |\n\n"
                                  "```python\n"
                                  "if character == \"\\t\":\n"
                                  "    return line, (column - 1) // TAB_WIDTH * TAB_WIDTH + TAB_WIDTH + 1\n"
                                  "```\n\n"
                                  "All tests pass."
        + note);
    return turn.ended();
}

Turn limitedTurn(const std::string& idPrefix, const std::string& runtime)
{
    TurnWriter turn(idPrefix);
    turn.thinks("First the tests, then what changed since the last commit.").plansUpTo(0, reviewSteps);
    turn.says("I run all tests first, and then go through the changes.").calls(testRun(2));
    turn.plansUpTo(1, reviewSteps).says("All tests pass. Next, the changes since the last");
    return turn.failed("You have reached your " + runtime + " usage limit. It resets in 3 hours.");
}

// One call for each step that is left, then the report.
static void review(TurnWriter& turn, std::vector<PlanStep> plan)
{
    const std::vector<ToolCall> calls = { diffRun(), reading("src/position.py"), search(), testRun(2) };
    std::size_t nextCall = 0;
    for (PlanStep& step : plan) {
        if (step.status == "completed")
            continue;
        step.status = "in_progress";
        turn.plans(plan).calls(calls[nextCall++ % calls.size()]);
        step.status = "completed";
    }
    turn.plans(plan).says("## What changed\n\n"
                          "| file | lines | why |\n"
                          "|---|---|---|\n"
                          "| `src/position.py` | +5 | a tab goes to the next tab stop |\n"
                          "| `tests/test_position.py` | +4 | holds the case that was reported |\n\n"
                          "1. All tests pass, the new one with them.\n"
                          "2. No other place counts columns.\n"
                          "3. What is left: the width of a tab is 8 everywhere; make it a setting only if somebody asks.\n\n"
                          "```sh\n"
                          "python3 -m pytest -q\n"
                          "```"
        + note);
}

static std::vector<PlanStep> pendingReview()
{
    std::vector<PlanStep> plan;
    plan.reserve(reviewSteps.size());
    for (const std::string& step : reviewSteps)
        plan.push_back({ step, "pending" });
    return plan;
}

// What the taking over begins with.
static std::string takingOver(const Capsule& capsule)
{
    const std::string start = "I take over from " + capsule.from;
    std::size_t completed = 0;
    for (const PlanStep& step : capsule.plan)
        completed += step.status == "completed" ? 1 : 0;
    for (const PlanStep& step : capsule.plan)
        if (step.status != "completed")
            return start + " after " + std::to_string(completed) + " of " + std::to_string(capsule.plan.size()) + " steps and go on with “"
                + step.content + "”.";
    return start + (capsule.plan.empty() ? " and look at where it stands." : ". Its plan is done, so I look at the result.");
}

Turn continuedTurn(const std::string& idPrefix, const Capsule& capsule)
{
    const bool isLeft
        = std::any_of(capsule.plan.begin(), capsule.plan.end(), [](const PlanStep& step) { return step.status != "completed"; });
    TurnWriter turn(idPrefix);
    turn.thinks(capsule.from + " has handed this over. The request was " + quoted(capsule.request)
        + ". What is done stays done; the working tree tells how far it is.");
    turn.says(takingOver(capsule));
    review(turn, isLeft ? capsule.plan : pendingReview());
    return turn.ended();
}

Turn reviewingTurn(const std::string& idPrefix, std::string_view prompt)
{
    TurnWriter turn(idPrefix);
    turn.thinks("The next request is " + quoted(prompt) + ". The change is in place, so this is about what it does.");
    turn.says("I go through the change once more.");
    review(turn, pendingReview());
    return turn.ended();
}

Turn replayedTurn(const std::string& idPrefix)
{
    TurnWriter turn(idPrefix);
    turn.hears("The columns in our error messages are wrong after a tab. Find out why, and mend it with a test.");
    turn.says("A tab now goes to the next tab stop, and a test holds it:\n\n"
              "- `src/position.py` counts tabs\n- `tests/test_position.py` holds the case that was reported"
        + note);
    return turn.ended();
}

} // namespace demo
