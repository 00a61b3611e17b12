// Prompter: the one seam through which the program asks the user anything modal
// (message boxes, file, folder and colour pickers, small inputs). The widget implementation
// lives in shell/ui; tests install a scripted one. Used from the GUI thread only.
#pragma once

#include <QColor>
#include <QList>
#include <QString>
#include <QStringList>

namespace tolvane {

class Prompter {
public:
    enum class Icon { None, Information, Warning /* exclamation */, Critical, Question };
    enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
    enum class Answer { Ok, Cancel, Yes, No };

    struct Message {
        QString title;
        QString text;
        Icon icon = Icon::None;
        Buttons buttons = Buttons::Ok;
    };

    virtual ~Prompter() = default;

    // Shows a modal message box; returns the button pressed (Cancel/No when closed otherwise).
    virtual Answer message(const Message &msg) = 0;

    // File pickers. filter uses Qt's form, e.g. "Database (*.mdb)". Empty result = cancelled.
    virtual QString openFile(const QString &title, const QString &filter, const QString &startDir = {}) = 0;
    virtual QString saveFile(const QString &title, const QString &filter, const QString &startDir = {}) = 0;
    // Folder picker. Empty result = cancelled.
    virtual QString folder(const QString &title, const QString &startDir = {}) = 0;
    // Colour picker starting on initial, offering customColours (at most 16) as the dialog's
    // custom colours; an invalid QColor means cancelled.
    virtual QColor color(const QString &title, const QColor &initial, const QList<QColor> &customColours) = 0;
    // Small text input; std::nullopt-like: ok=false means cancelled.
    virtual QString text(const QString &title, const QString &label, const QString &initial, bool *ok) = 0;
    virtual int number(const QString &title, const QString &label, int initial, int min, int max, bool *ok) = 0;

    // A small form asking for one line of text, with the caption of its confirm button (empty:
    // the usual one). Returns the text as typed; ok=false when the form was cancelled.
    struct TextForm {
        QString title;
        QString label;
        QString initial;
        QString okCaption;
        QString name; // the form's name in the program ("Form4"), for those who look it up
    };
    virtual QString textForm(const TextForm &form, bool *ok) { return text(form.title, form.label, form.initial, ok); }

    // A small form choosing one of items from a drop-down list that starts showing placeholder
    // with nothing chosen. Returns the index of the chosen item, or -1 when the form was
    // confirmed without a choice; ok=false (and -1) when it was cancelled. Without a form of its
    // own a prompter cancels.
    struct ChoiceForm {
        QString title;
        QString label;
        QStringList items;
        QString placeholder;
        QString name; // the form's name in the program ("Form2")
    };
    virtual int choose(const ChoiceForm &form, bool *ok)
    {
        Q_UNUSED(form);
        if (ok)
            *ok = false;
        return -1;
    }

    // Convenience for the common one-button message box.
    Answer inform(const QString &title, const QString &text, Icon icon)
    {
        return message({ title, text, icon, Buttons::Ok });
    }
};

} // namespace tolvane
