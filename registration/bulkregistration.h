// Bulk registration of the folder shown in the file list: first registration of a new folder,
// or synchronisation of a registered one (rows of vanished files deleted, new files added,
// changed days corrected). The whole command runs in one catalogue transaction: it either
// completes or leaves the catalogue as it was. Usable without widgets (the messages go through
// the Prompter). GUI thread only.
#pragma once

#include "platform/prompter.h"
#include "registration/pathrecords.h"

namespace tolvane::registration {

struct RegistrationOutcome {
    enum class Kind {
        Refused, // the list was empty
        Declined, // the confirmation was not answered Yes
        Registered, // a new folder and its files were registered
        Synchronised, // a registered folder was synchronised
        Failed, // a step failed; the catalogue was left unchanged
        Cancelled, // stopped through the progress callback; the catalogue was left unchanged
    };
    Kind kind = Kind::Refused;
    int pnID = -1;
    int deleted = 0;
    int added = 0;
    int dateFixed = 0;
    // Listed files that could not be stored, and files whose names cannot be read: not
    // registered, and named to the user after the counts.
    QList<SkippedFile> skipped;
    Status error; // the failure of a Failed outcome
};

// The messages of the command, exactly as shown.
QString emptyListMessage();
QString confirmRegistrationMessage();
QString synchronisedMessage(int deleted, int added, int dateFixed);
QString registeredMessage(int added);
QString synchronisationFailedMessage();
QString registrationFailedMessage();
// The files left out, named (the first twenty, each with its reason), then how many more.
QString skippedFilesMessage(const QList<SkippedFile> &skipped);

// Registers or synchronises CurrentFolder from the names of the file list (column 0 of `fr`, in
// list order): refuses an empty list, asks for confirmation, then runs deletion before addition
// in one transaction and reports the counts, all through prompter with the title
// "Almaren Tolvane". The list is the truth about the folder's contents; only the files' dates
// are read from the disk, and the names of the files the list cannot hold (see
// unreadableFileNames). Files that cannot be stored are left out and named in one warning
// after the counts; the rest is registered.
RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const QStringList &names, const Progress &progress = {});
// The same with the files' modification times as the list read them (modified[i] for names[i];
// invalid when unreadable), so that no file is read again.
RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const QStringList &names, const QList<QDateTime> &modified, const Progress &progress = {});
// The same on names kept compactly, with their local days (days[i] for names.at(i); invalid
// when unreadable): for folders of very many files.
RegistrationOutcome RegisterShownFolder(jet::Database &db, Prompter &prompter, const QString &CurrentFolder,
    const FileNames &names, const QList<QDate> &days, const Progress &progress = {});

} // namespace tolvane::registration
