#include "fido2/dialogs/request_details_dialog.h"

#include "fido2/dialogs/confirmation_texts.h"
#include "ui/dialog_parts.h"
#include "ui/fixed_font.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

RequestDetailsDialog::RequestDetailsDialog(const QString& operation, const QJsonObject& request, QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Detailed FIDO2 Request Information"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    auto* layout = new QVBoxLayout(this);
    constexpr int kHeadingPixels = 16;
    layout->addWidget(makeHeading(tr("Complete Client Request Data"), kHeadingPixels));

    constexpr int kPointSize = 10;
    QFont font(QStringLiteral("Consolas"), kPointSize);
    font.setFamilies({font.family(), fixedFont().family()});
    auto* text = new QPlainTextEdit;
    text->setObjectName(QStringLiteral("request"));
    text->setReadOnly(true);
    text->setUndoRedoEnabled(false);
    text->setFont(font);
    text->setPlainText(completeRequestText(operation, request));
    layout->addWidget(text);

    QPushButton* close = makePlainButton(tr("Close"));
    close->setObjectName(QStringLiteral("close"));
    layout->addLayout(makeButtonRow({close}));
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    constexpr QSize kSize(680, 560);
    resizeOnScreen(*this, kSize);
    close->setFocus();
}
