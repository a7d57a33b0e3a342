// SPDX-License-Identifier: GPL-3.0-or-later
#include "smartwindow/SourceListModel.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>

#include "smartwindow/support/WindowWorld.h"

namespace kestrin {
namespace {

TEST(SourceListModel, TellsOfEachVolumeWhatIsInItsTrashAndWhetherItCanBeChosen) {
    test::WindowWorld world;
    const SmartWindowServices services = world.services();
    SourceListModel model(services);
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    const auto source = std::make_shared<QVSourceItem>(world.volume("Ca\nmera").trashes.front(), 1);
    model.insertSource(0, source);
    model.setDisabledRows({{{.volumeName = QStringLiteral("Disc")}, QStringLiteral("Read-only")}});
    const auto text = [&](int role, int row = 0) { return model.index(row).data(role).toString(); };
    const auto isChecked = [&] { return model.index(0).data(Qt::CheckStateRole); };
    source->count = 1;
    source->size = 1'500;
    EXPECT_EQ(text(Qt::DisplayRole), u"Ca\\nmera");
    EXPECT_EQ(text(SourceListModel::InfoRole), u"1 item, 1.50 kB");
    EXPECT_EQ(text(SourceListModel::MarkedTextRole), u"");
    const std::pair<std::uint64_t, QString> badges[] = {{999, QStringLiteral("999 - 5 B")},
                                                        {1000, QStringLiteral("1K - 5 B")},
                                                        {1'500'000, QStringLiteral("1.5M - 5 B")}};
    source->markedStatus = -1;
    source->markedSize = 5;
    for (const auto& [count, badge] : badges) {
        source->markedCount = count;
        EXPECT_EQ(text(SourceListModel::MarkedTextRole), badge);
    }
    EXPECT_EQ(text(Qt::AccessibleTextRole), u"Ca\\nmera: 1 item, 1.50 kB, checked 1.5M - 5 B");
    EXPECT_EQ(isChecked().value<Qt::CheckState>(), Qt::PartiallyChecked);
    EXPECT_TRUE(model.setData(model.index(0), {}, Qt::CheckStateRole));
    model.setTakesChecks(false);
    EXPECT_FALSE(model.setData(model.index(0), {}, Qt::CheckStateRole)) << "an erase is under way";
    model.setTakesChecks(true);
    source->note = QStringLiteral("Not answering");
    EXPECT_EQ(text(SourceListModel::InfoRole), u"Not answering (1 item, 1.50 kB)");
    EXPECT_FALSE(isChecked().isValid());
    EXPECT_TRUE(model.flags(model.index(0)).testFlag(Qt::ItemIsSelectable));
    source->note.clear();
    source->trashIsEmpty = true;
    EXPECT_EQ(text(SourceListModel::InfoRole), u"The trash is empty");
    EXPECT_TRUE(isChecked().isValid()) << "a check box that is not enabled";
    for (const int row : {0, 1})
        EXPECT_FALSE(model.flags(model.index(row)) & Qt::ItemIsEnabled);
    EXPECT_EQ(text(SourceListModel::InfoRole, 1), u"Read-only");
    EXPECT_FALSE(model.index(1).data(Qt::CheckStateRole).isValid());
    EXPECT_EQ(model.index(1).data(Qt::DecorationRole).value<QPixmap>().deviceIndependentSize(),
              QSizeF(64, 64));
}

}  // namespace
}  // namespace kestrin
