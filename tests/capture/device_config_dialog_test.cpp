#include "capture/view/device_config_dialog.h"
#include "tests/support/scripted_prompter.h"
#include "tests/support/suite_registry.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPushButton>
#include <QTreeWidget>
#include <QtTest>

class DeviceConfigDialogTest : public QObject
{
    Q_OBJECT

private slots:
    void showsTheConfiguration_data();
    void showsTheConfiguration();
    void emptyConfigurationGivesABoxAndAnEmptyTree();
    void hugeConfigurationIsShownInPart();
};

namespace {

QString treeText(const QTreeWidgetItem* item, int level)
{
    QString text;
    for (int row = 0; row < item->childCount(); ++row) {
        const QTreeWidgetItem* child = item->child(row);
        text += QString(level, QLatin1Char(' ')) + child->text(0) + QLatin1Char('=') + child->text(1) +
                QLatin1Char('\n') + treeText(child, level + 1);
    }
    return text;
}

QString missingDescriptor()
{
    return QStringLiteral("Configuration Descriptor=\n bLength=0\n bDescriptorType=0x00\n wTotalLength=0\n"
                          " bNumInterfaces=0\n bConfigurationValue=0\n iConfiguration=0\n bmAttributes=0x00\n"
                          " bMaxPower=0 mA\n");
}

} // namespace

void DeviceConfigDialogTest::showsTheConfiguration_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("tree");
    QTest::newRow("everything there, texts and numbers each in their place")
        << QByteArray(R"({"configDescriptor":{"bLength":9,"bDescriptorType":2,"wTotalLength":34,"bNumInterfaces":1,
                         "bConfigurationValue":1,"iConfiguration":0,"bmAttributes":128,"bMaxPower":250},
                         "interfaces":[{"alternateSettings":[{"descriptor":{"bLength":"9","bDescriptorType":"0x04",
                         "bInterfaceNumber":"0","bAlternateSetting":3,"bNumEndpoints":"1","bInterfaceClass":"HID <b>",
                         "bInterfaceSubClass":1,"bInterfaceProtocol":"1","iInterface":"0"},"endpoints":[
                         {"bEndpointAddress":"0x81","bLength":"7","bDescriptorType":"5","bmAttributes":"3",
                         "wMaxPacketSize":"8","bInterval":"10"}]}]}]})")
        << QStringLiteral(
               "Configuration Descriptor=\n bLength=9\n bDescriptorType=0x02\n wTotalLength=34\n"
               " bNumInterfaces=1\n bConfigurationValue=1\n iConfiguration=0\n bmAttributes=0x80\n"
               " bMaxPower=250 mA\nInterfaces (1)=\n Interface 0 - Alternate Settings (1)=\n"
               "  Alternate Setting 3=\n   Interface Descriptor=\n    bLength=9\n    bDescriptorType=0x04\n"
               "    bInterfaceNumber=0\n    bAlternateSetting=\n    bNumEndpoints=1\n"
               "    bInterfaceClass=HID <b>\n    bInterfaceSubClass=\n    bInterfaceProtocol=1\n"
               "    iInterface=0\n   Endpoints (1)=\n    0x81=\n     bLength=7\n     bDescriptorType=5\n"
               "     bEndpointAddress=0x81\n     bmAttributes=3\n     wMaxPacketSize=8\n     bInterval=10\n");
    QTest::newRow("interface without alternate settings")
        << QByteArray(R"({"interfaces":[{},7]})")
        << missingDescriptor() + QStringLiteral("Interfaces (2)=\n Interface 0 - Alternate Settings (0)=\n"
                                                " Interface 1 - Alternate Settings (0)=\n");
    QTest::newRow("values of wrong types") << QByteArray(R"({"configDescriptor":[1],"interfaces":{"a":1}})")
                                           << missingDescriptor() + QStringLiteral("Interfaces (0)=\n");
}

void DeviceConfigDialogTest::showsTheConfiguration()
{
    QFETCH(QByteArray, json);
    ScriptedPrompter prompter;
    const DeviceConfigDialog dialog(QJsonDocument::fromJson(json).object(), QStringLiteral("Key %1"), nullptr,
                                    prompter);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Device Configuration - Key %1"));
    QCOMPARE(dialog.size(), QSize(800, 600));
    const auto* tree = dialog.findChild<QTreeWidget*>();
    QCOMPARE(tree->columnWidth(0), 200);
    QCOMPARE(tree->columnWidth(1), 500);
    QTEST(treeText(tree->invisibleRootItem(), 0), "tree");
    for (QTreeWidgetItemIterator item(const_cast<QTreeWidget*>(tree)); *item; ++item)
        QVERIFY((*item)->isExpanded() || (*item)->childCount() == 0);
    QCOMPARE(prompter.verify(), QString());
}

void DeviceConfigDialogTest::emptyConfigurationGivesABoxAndAnEmptyTree()
{
    ScriptedPrompter prompter;
    prompter.expectInformation(QStringLiteral("Device Configuration"),
                               QStringLiteral("No configuration information available for this device."));
    DeviceConfigDialog dialog({}, QStringLiteral("x"), nullptr, prompter);
    QCOMPARE(prompter.verify(), QString());
    QCOMPARE(dialog.findChild<QTreeWidget*>()->topLevelItemCount(), 0);
    dialog.show();
    dialog.findChild<QPushButton*>()->click();
    QVERIFY(!dialog.isVisible());
}

void DeviceConfigDialogTest::hugeConfigurationIsShownInPart()
{
    QByteArray json = "{\"interfaces\":[{\"alternateSettings\":[{\"endpoints\":[{\"bEndpointAddress\":\"" +
                      QByteArray(200000, 'x') + "\"}]}";
    while (json.size() < 1200000)
        json += ",{\"endpoints\":[{}]}";
    json += "]}]}";
    ScriptedPrompter prompter;
    DeviceConfigDialog dialog(QJsonDocument::fromJson(json).object(), {}, nullptr, prompter);
    dialog.show();
    const auto* tree = dialog.findChild<QTreeWidget*>();
    const QTreeWidgetItem* interface = tree->topLevelItem(1)->child(0);
    QVERIFY(interface->text(0).section(QLatin1Char('('), 1).chopped(1).toInt() > 50000);
    const QTreeWidgetItem* endpoint = interface->child(0)->child(1)->child(0);
    QVERIFY(endpoint->text(0).size() <= 1000 && endpoint->child(2)->text(1).size() <= 1000); // painted in no time
    QVERIFY(interface->childCount() > 2000 && interface->childCount() < 5000);
    QVERIFY(interface->child(interface->childCount() - 1)->text(0).endsWith(QLatin1String(" more)")));
}

PLUGBOARD_SUITE(DeviceConfigDialogTest)
#include "device_config_dialog_test.moc"
