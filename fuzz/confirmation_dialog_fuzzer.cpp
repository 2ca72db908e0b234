// links: plugboard::fido2
// confirmation_dialog_fuzzer.cpp: the dialog of any request: it shows, answers once, and shows nothing but plain text
// of a bounded length.
#include "fido2/channel/fido2_message.h"
#include "fido2/dialogs/confirmation_texts.h"
#include "fido2/dialogs/fido2_user_confirmation_dialog.h"
#include "fuzz/fuzz_bytes.h"
#include "fuzz/json_input.h"

#include <QApplication>
#include <QJsonDocument>
#include <QLabel>
#include <QListWidget>
#include <QTextEdit>

namespace {

constexpr int kMostLetters = 8 * 1024 * 1024; // of one text; a whole request is shown with what its fields mean
constexpr int kMostRows = 5001;

void checkTexts(const QWidget& dialog)
{
    const auto labels = dialog.findChildren<QLabel*>();
    for (const QLabel* label : labels)
        require(label->textFormat() == Qt::PlainText || !Qt::mightBeRichText(label->text()));
    const auto lists = dialog.findChildren<QListWidget*>();
    for (const QListWidget* list : lists)
        require(list->count() <= kMostRows);
    const auto edits = dialog.findChildren<QTextEdit*>();
    for (const QTextEdit* edit : edits)
        require(edit->document()->characterCount() <= kMostLetters);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int s_count = 1;
    static char s_name[] = "fuzzer";
    static char* s_arguments[] = {s_name, nullptr};
    new QApplication(s_count, s_arguments);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const auto question =
        parseConfirmationQuestion(QByteArray(reinterpret_cast<const char*>(data) + 1, static_cast<int>(size - 1)));
    if (!question)
        return 0;
    require(completeRequestText(question->operation, question->data).size() <= kMostLetters);
    Fido2UserConfirmationDialog dialog(question->operation, question->data);
    dialog.showAsker(question->operation, 7, QDateTime::currentDateTime());
    int answers = 0;
    bool isConfirmed = false;
    QObject::connect(&dialog, &Fido2UserConfirmationDialog::userConfirmed,
                     [&](bool confirmed, const QJsonObject& result) {
                         ++answers;
                         isConfirmed = confirmed;
                         require(!QJsonDocument(result).toJson().isEmpty());
                     });
    checkTexts(dialog);
    const bool gone = data[0] & 1;
    if (gone)
        dialog.showAskerGone();
    if (data[0] & 2)
        dialog.onConfirm();
    else if (data[0] & 4)
        dialog.onDeny();
    dialog.reject();
    require(answers == 1);
    require(!isConfirmed || (data[0] & 2));
    return 0;
}
