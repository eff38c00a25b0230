#include "budget/amounts.h"
#include "budget/transaction.h"
#include "budget/ui/frm_budget.h"
#include "budget/ui/frm_budget_charts.h"
#include "sections/categories/categories.h"
#include "support/gui.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QHorizontalBarSeries>
#include <QLineSeries>
#include <QPieSeries>
#include <QToolTip>

namespace {

// What a chart draws, back in the Balance table's text; the doubles hold two decimals exactly enough for that.
QString AsTableText(double drawn) {
    return budget::FormatAmount(*Currency::FromDouble(drawn), false);
}

} // namespace

class TestFrmBudgetCharts : public FileTest {
    Q_OBJECT

    std::unique_ptr<frmBudget> m_form;

    frmBudgetCharts* charts() const { return Find<frmBudgetCharts>(*m_form, QStringLiteral("picCharts")); }

    // Category name to drawn debit, from whichever kind of chart is shown.
    QMap<QString, QString> drawnDebits() const {
        QMap<QString, QString> drawn;
        const QList<QAbstractSeries*> series = charts()->chtCategories->chart()->series();
        if (series.isEmpty()) {
            return drawn;
        }
        if (auto* pie = qobject_cast<QPieSeries*>(series[0])) {
            for (const QPieSlice* slice : pie->slices()) {
                drawn.insert(slice->label(), AsTableText(slice->value()));
            }
            return drawn;
        }
        const QBarSet* set = qobject_cast<QHorizontalBarSeries*>(series[0])->barSets()[0];
        const QStringList names = qobject_cast<QBarCategoryAxis*>(series[0]->attachedAxes()[0])->categories();
        for (int i = 0; i < set->count(); ++i) {
            drawn.insert(names[i], AsTableText(set->at(i)));
        }
        return drawn;
    }

    // The Balance table's debit column for every category with a debit.
    QMap<QString, QString> tableDebits(int column) const {
        QMap<QString, QString> table;
        for (int i = 0; i < m_form->LV2->topLevelItemCount(); ++i) {
            const QTreeWidgetItem* row = m_form->LV2->topLevelItem(i);
            if (row->text(column) != QLatin1String("0.00")) {
                table.insert(row->text(0), row->text(column));
            }
        }
        return table;
    }

    // The month chart's credit, debit and balance, each added up over the months as the table's totals line.
    QStringList drawnMonthTotals() const {
        const QList<QAbstractSeries*> series = charts()->chtMonths->chart()->series();
        QStringList totals;
        for (const QBarSet* set : qobject_cast<QBarSeries*>(series[0])->barSets()) {
            Currency sum;
            for (int i = 0; i < set->count(); ++i) {
                sum = *sum.plus(*Currency::FromDouble(set->at(i)));
            }
            totals << u' ' + budget::FormatAmount(sum, false);
        }
        Currency sum;
        for (const QPointF& point : qobject_cast<QLineSeries*>(series[1])->points()) {
            sum = *sum.plus(*Currency::FromDouble(point.y()));
        }
        totals << u' ' + budget::FormatAmount(sum, false);
        return totals;
    }

    QStringList tableTotals(bool withPrivate) const {
        const int shift = withPrivate ? 2 : 0;
        return {m_form->result[0 + shift]->text(), m_form->result[3 + shift]->text(),
                m_form->result[6 + shift]->text()};
    }

private Q_SLOTS:
    // A salary and lunch at the start of the year, rent and a private debit today.
    void init() {
        QVERIFY(newFile(QStringLiteral("Charts form pass 1")));
        QCOMPARE(categories::SaveCategoryText(store(), QStringLiteral("Food;1;Rent;2"), 17, 0), 0);
        const QDate today = QDate::currentDate();
        const QDate newYear(today.year(), 1, 1);
        for (const auto& [day, units, dcwb, category] : {std::tuple{newYear, 13000000, 0, 0},
                                                         {newYear, 125000, budget::kDebitBit, 1},
                                                         {today, 5000000, budget::kDebitBit, 2},
                                                         {today, 70000, budget::kDebitBit | budget::kPrivateBit, 1}}) {
            budget::Transaction t = budget::ClearTransaction(0, category, day);
            t.description = QStringLiteral("item");
            t.amount = Currency{units};
            t.dcwb = dcwb;
            t.isPrivate = (dcwb & budget::kPrivateBit) != 0;
            QVERIFY(budget::StoreTransaction(store(), 0, t).ok());
        }
        m_run->session.ShowPrivate = true;
        m_form = std::make_unique<frmBudget>(m_run->session);
        m_form->resize(1000, 600);
        m_form->show();
    }

    void cleanup() {
        m_form.reset();
        open_sequence::CloseDatabase(m_run->session);
        m_run.reset();
    }

    void chartsDrawTheBalanceSums() {
        QCOMPARE(m_form->tbsOptions->tabText(2), QStringLiteral("Charts"));
        QVERIFY(Find<QComboBox>(*m_form, QStringLiteral("cboChartKind")) != nullptr);
        // Out of view nothing is added up.
        QVERIFY(charts()->categoryDebits().categories.isEmpty());
        m_form->tbsOptions->setCurrentIndex(2);
        QVERIFY(m_form->showBWframe->isVisible());
        const QMap<QString, QString> withPrivate{{QStringLiteral("Food"), QStringLiteral("19.50")},
                                                 {QStringLiteral("Rent"), QStringLiteral("500.00")}};
        QCOMPARE(drawnDebits(), withPrivate);
        QCOMPARE(drawnDebits(), tableDebits(6));
        QCOMPARE(drawnMonthTotals(), tableTotals(true));
        // The tip tells the exact amount as the table writes it; the bars list the categories from the bottom up.
        auto* bars = qobject_cast<QHorizontalBarSeries*>(charts()->chtCategories->chart()->series()[0]);
        Q_EMIT bars->barSets()[0]->hovered(true, 0);
        QCOMPARE(QToolTip::text(), QStringLiteral("Rent\n500.00"));

        charts()->cboChartKind->setCurrentIndex(frmBudgetCharts::Pie);
        QCOMPARE(drawnDebits(), withPrivate);

        // With private records hidden only the public sums are drawn, as the table shows them.
        m_run->session.ShowPrivate = false;
        m_form->HideShow();
        QCOMPARE(drawnDebits().value(QStringLiteral("Food")), QStringLiteral("12.50"));
        QCOMPARE(drawnDebits(), tableDebits(4));
        QCOMPARE(drawnMonthTotals(), tableTotals(false));

        // Out of view the figures go at once and come back, new, when the tab shows again.
        m_form->tbsOptions->setCurrentIndex(0);
        m_run->session.ShowPrivate = true;
        m_form->HideShow();
        QVERIFY(charts()->chtCategories->chart()->series().isEmpty());
        QVERIFY(charts()->categoryDebits().categories.isEmpty());
        m_form->tbsOptions->setCurrentIndex(2);
        QCOMPARE(drawnDebits().value(QStringLiteral("Food")), QStringLiteral("19.50"));
    }

    void anEmptyPeriodSaysSo() {
        m_form->tbsOptions->setCurrentIndex(2);
        m_form->cPeriod[budget::kPeriodYear]->click();
        m_form->cmdDown[0]->click();
        QVERIFY(charts()->lblNoData->isVisible());
        QCOMPARE(charts()->lblNoData->text(), QStringLiteral("No transactions in this period"));
        QVERIFY(!charts()->picChartViews->isVisible());
        m_form->cmdUp[0]->click();
        QVERIFY(!charts()->lblNoData->isVisible());
    }
};

NCT_GUI_TEST_MAIN(TestFrmBudgetCharts)
#include "tst_frm_budget_charts.moc"
