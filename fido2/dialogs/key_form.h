// key_form.h: the part of the key settings that says what a security key is: ids, version, name, serial number.
#pragma once

#include "devices/parameter_list.h"
#include "fido2/file/credentials_file.h"

#include <QGroupBox>
#include <QJsonObject>

#include <optional>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLineEdit;

class KeyForm : public QGroupBox
{
    Q_OBJECT

public:
    explicit KeyForm(QWidget* parent = nullptr);

    /// What the user chose, but for the path of the credentials. The ids are as typed; every text is one line.
    Fido2Parameters parameters() const;
    KeyIdentity identity() const;

    void setSerialNumber(const QString& serial);
    /// Takes over the usable values that a credentials file has of its key.
    void take(const QJsonObject& deviceInfo);

    struct Fault
    {
        QLineEdit* field;
        QString complaint;
    };
    /// What keeps the key from being created.
    std::optional<Fault> findFault() const;

    static bool hasLastUsed();
    void fillInLastUsed();
    void rememberAsLastUsed() const;

signals:
    void serialNumberChanged();
    void generateRequested();
    void selectFileRequested();

private:
    QLineEdit* addLine(const char* objectName, const QString& label, const QString& placeholder, const QString& text);
    void addSerialRow();

    QFormLayout* m_form = nullptr;
    QLineEdit* m_vid = nullptr;
    QLineEdit* m_pid = nullptr;
    QComboBox* m_usbVersion = nullptr;
    QLineEdit* m_name = nullptr;
    QLineEdit* m_serial = nullptr;
    QCheckBox* m_supportsPin = nullptr;
};
