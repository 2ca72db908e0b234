#include "app/device_table.h"
#include "tests/support/suite_registry.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QTextDocument>
#include <QToolTip>
#include <QtTest>

namespace {

QStringList device(const QString& name)
{
    return {name, QStringLiteral("1")};
}

QStringList names(const DeviceTable& table)
{
    QStringList found;
    for (int row = 0; row < table.rowCount(); ++row)
        found << table.cellTexts(row).first();
    return found;
}

} // namespace

class DeviceTableTest : public QObject
{
    Q_OBJECT

private slots:
    void fillsTheFirstRowWithAnEmptyFirstCell()
    {
        DeviceTable table;
        table.addDevice(device(QStringLiteral("a")));
        table.addDevice(device(QString()));
        table.addDevice(device(QStringLiteral("b")));
        QCOMPARE(names(table).mid(0, 3), (QStringList{QStringLiteral("a"), QStringLiteral("b"), QString()}));
    }

    void seventhTextFallsAway()
    {
        DeviceTable table;
        QPixmap pixmap(1, 1);
        const QStringList texts = QStringLiteral("n p 1 2 3 4 Running").split(QLatin1Char(' '));
        table.addDevice(texts, QIcon(pixmap));
        QCOMPARE(table.columnCount(), 6);
        QCOMPARE(table.cellTexts(0), texts.mid(0, 6));
        for (int column = 0; column < 6; ++column) {
            QCOMPARE(table.item(0, column)->toolTip(), texts[column]);
            QCOMPARE(table.item(0, column)->icon().isNull(), column != 0);
        }
    }

    void removingKeepsTenRows()
    {
        DeviceTable table;
        table.addDevice(device(QStringLiteral("a")));
        table.removeDevice(0);
        QCOMPARE(table.rowCount(), 10);
        QVERIFY(!table.identityAt(0));
        for (int i = 0; i < 12; ++i)
            table.addDevice(device(QString::number(i)));
        table.selectRow(0);
        table.removeDevice(0);
        QCOMPARE(table.rowCount(), 11);
        QCOMPARE(table.selectedRow(), 0); // the next one is as good
        table.clearDevices();
        QCOMPARE(table.rowCount(), 10);
        QCOMPARE(table.horizontalHeaderItem(5)->text(), QStringLiteral("Param4"));
        table.addDevice(device(QStringLiteral("last")));
        table.selectRow(0);
        table.removeDevice(0);
        QCOMPARE(table.selectedRow(), -1); // an empty row is not selected
    }

    void identityNeedsBothCells()
    {
        DeviceTable table;
        QVERIFY(!table.identityAt(-1));
        QVERIFY(!table.identityAt(0));
        table.setItem(0, 0, new QTableWidgetItem(QStringLiteral("name")));
        QVERIFY(!table.identityAt(0));
        table.setItem(0, 1, new QTableWidgetItem(QStringLiteral("17")));
        QCOMPARE(table.identityAt(0)->processId, QStringLiteral("17"));
    }

    void cutNameIsShownWhole()
    {
        DeviceTable table;
        const QString name = QStringLiteral("<b>") + QString(997, QLatin1Char('x'));
        table.addDevice(device(name + QString(500000, QLatin1Char('y')))); // whose painting would take seconds
        table.show();
        const auto shown = [] {
            QTextDocument text; // a name that looks like markup must show as it was typed
            text.setHtml(QToolTip::text());
            return text.toPlainText().remove(QChar(0x200b)); // where a long word may break
        };
        const QPoint centre = table.visualItemRect(table.item(0, 0)).center();
        QHelpEvent help(QEvent::ToolTip, centre, table.viewport()->mapToGlobal(centre));
        QCoreApplication::sendEvent(table.viewport(), &help);
        QCOMPARE(shown(), name);

        table.setCurrentCell(0, 1);
        QTest::keyClick(&table, Qt::Key_Right);
        QTRY_VERIFY2(!QToolTip::isVisible(), "no cell is here");
        QTest::keyClick(&table, Qt::Key_Home);
        QVERIFY(QToolTip::isVisible());
        QCOMPARE(shown(), name);
        QTest::keyClick(&table, Qt::Key_Right);
        QTRY_VERIFY2(!QToolTip::isVisible(), "the whole text is in the cell");
        QCOMPARE(QAccessible::queryAccessibleInterface(&table)->tableInterface()->cellAt(0, 0)->text(QAccessible::Name),
                 name);
    }
};

PLUGBOARD_SUITE(DeviceTableTest)
#include "device_table_test.moc"
