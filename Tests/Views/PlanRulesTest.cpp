#include "Views/PlanRules.h"

#include "Printing.h"
#include "Views/PlanListModel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace tessarin
{

namespace
{

PlanEntry step(const std::string& status)
{
    return { "", "Do it", status, "" };
}

TEST(PlanRules, CountsTheCompletedOfAll)
{
    EXPECT_EQ(PlanRules::label({ step("completed"), step("pending"), step("completed"), step("in_progress"), step("odd") }), "Plan · 2/5");
    EXPECT_EQ(PlanRules::label({ step("pending") }), "Plan · 0/1");
}

TEST(PlanRules, EachStatusHasItsSymbolAndColour)
{
    EXPECT_EQ(PlanRules::symbol("completed"), "checkmark.circle.fill");
    EXPECT_EQ(PlanRules::tint("completed"), Tint::Green);
    EXPECT_EQ(PlanRules::symbol("in_progress"), "circle.dotted");
    EXPECT_EQ(PlanRules::tint("in_progress"), Tint::Orange);
    for (const char* other : { "pending", "", "Completed", "cancelled" }) {
        EXPECT_EQ(PlanRules::symbol(other), "circle");
        EXPECT_EQ(PlanRules::tint(other), Tint::Secondary);
    }
}

TEST(PlanListModel, ANewPlanChangesOnlyTheRowsThatDiffer)
{
    PlanListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setEntries({ step("completed"), step("in_progress"), step("pending") });
    const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setEntries({ step("completed"), step("completed"), step("pending"), step("pending") });
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 1);
    EXPECT_EQ(model.rowCount(), 4);
    model.setEntries({});
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(reset.count(), 0);
}

TEST(PlanListModel, ARowTellsItsContentAndHowItStands)
{
    PlanListModel model;
    model.setEntries({ step("in_progress") });
    const QModelIndex row = model.index(0);
    EXPECT_EQ(row.data(PlanListModel::ContentRole).toString(), "Do it");
    EXPECT_EQ(row.data(PlanListModel::StatusRole).toString(), "In Progress");
    EXPECT_EQ(row.data(PlanListModel::SymbolRole).toString(), "circle.dotted");
    EXPECT_EQ(row.data(PlanListModel::TintRole).toInt(), Tint::Orange);
}

} // namespace

} // namespace tessarin
