#include "tools/capture/filter_edit.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QKeyEvent>

FilterEdit::FilterEdit(PacketFilter::MeaningOf meaning, QWidget* parent)
    : QLineEdit(parent)
    , m_meaning(std::move(meaning))
    , m_words(new QCompleter(packetFilterWords(), this))
{
    setClearButtonEnabled(true);
    setPlaceholderText(tr("A text, or status != 0"));
    // Not the line's own completer, which would take the whole text for one word.
    m_words->setWidget(this);
    m_words->setCaseSensitivity(Qt::CaseInsensitive);
    connect(m_words, QOverload<const QString&>::of(&QCompleter::activated), this, &FilterEdit::insertWord);
    connect(this, &QLineEdit::textChanged, this, &FilterEdit::read);
    connect(this, &QLineEdit::textEdited, this, &FilterEdit::complete);
}

void FilterEdit::read()
{
    const PacketFilter filter = parsePacketFilter(text(), m_meaning);
    QPalette colours;
    if (!filter.error.isEmpty())
        colours.setColor(QPalette::Text, Qt::red);
    setPalette(colours);
    if (filter.error.isEmpty())
        emit filterChanged(filter);
    emit explained(filter.error.isEmpty()
                       ? QString()
                       : tr("Filter, letter %1: %2").arg(filter.errorPosition + 1).arg(filter.error));
}

int FilterEdit::wordBegin() const
{
    int begin = cursorPosition();
    while (begin > 0 && text()[begin - 1].isLetter())
        --begin;
    return begin;
}

void FilterEdit::complete()
{
    const QString word = text().mid(wordBegin(), cursorPosition() - wordBegin());
    m_words->setCompletionPrefix(word);
    const bool whole = m_words->completionCount() == 1 && m_words->currentCompletion() == word;
    if (word.isEmpty() || m_words->completionCount() == 0 || whole)
        m_words->popup()->hide();
    else
        m_words->complete();
}

void FilterEdit::insertWord(const QString& word)
{
    const int begin = wordBegin();
    const QString before = text().left(begin) + word;
    setText(before + text().mid(cursorPosition()));
    setCursorPosition(before.size());
}

// While words are offered, these keys choose among them.
void FilterEdit::keyPressEvent(QKeyEvent* event)
{
    const bool offers = m_words->popup()->isVisible();
    const int key = event->key();
    if (offers && (key == Qt::Key_Return || key == Qt::Key_Enter || key == Qt::Key_Escape || key == Qt::Key_Tab))
        event->ignore();
    else
        QLineEdit::keyPressEvent(event);
}
