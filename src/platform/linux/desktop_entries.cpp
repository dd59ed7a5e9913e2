#include "platform/linux/desktop_entries.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace merlode {

namespace {

constexpr qint64 kLargestDesktopFile = 1024 * 1024;

// The escapes of a value of type string. Unknown ones stay as they are: Exec has a second layer of its own.
QString unescaped(QStringView value) {
    QString text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] != u'\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const QChar code = value[++i];
        switch (code.unicode()) {
        case 's':
            text += u' ';
            break;
        case 'n':
            text += u'\n';
            break;
        case 't':
            text += u'\t';
            break;
        case 'r':
            text += u'\r';
            break;
        case '\\':
            text += u'\\';
            break;
        default:
            text += u'\\';
            text += code;
        }
    }
    return text;
}

void take(DesktopEntry& entry, QStringView key, const QString& value) {
    if (key == u"Name")
        entry.name = value;
    else if (key == u"Icon")
        entry.icon = value;
    else if (key == u"Exec")
        entry.exec = value;
    else if (key == u"TryExec")
        entry.tryExec = value;
    else if (key == u"Path")
        entry.workingFolder = value;
    else if (key == u"DBusActivatable")
        entry.dBusActivatable = value == u"true";
    else if (key == u"Terminal")
        entry.terminal = value == u"true";
    else if (key == u"Hidden")
        entry.hidden = value == u"true";
}

bool isPlainId(const QString& id) {
    return !id.isEmpty() && !id.contains(u'/') && !id.contains(QChar(u'\0'));
}

std::optional<DesktopEntry> readDesktopFile(const QString& path) {
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return parseDesktopEntry(QString::fromUtf8(file.read(kLargestDesktopFile)));
}

bool isRunnable(const QString& program) {
    return !QStandardPaths::findExecutable(program).isEmpty();
}

/// Splits a command line, expanding its field codes for the case that no file is given.
class ExecReader {
  public:
    explicit ExecReader(const DesktopEntry& entry) : entry_(entry) {}

    QStringList read() {
        const QString& line = entry_.exec;
        for (at_ = 0; at_ < line.size() && valid_; ++at_) {
            const QChar c = line[at_];
            if (c == u' ' || c == u'\t')
                endArgument();
            else if (c == u'"')
                readQuoted();
            else if (c == u'%')
                expand();
            else
                add(c);
        }
        endArgument();
        return valid_ ? arguments_ : QStringList();
    }

  private:
    void add(const QString& text) {
        argument_ += text;
        exists_ = true;
    }

    void endArgument() {
        if (exists_)
            arguments_ += argument_;
        argument_.clear();
        exists_ = false;
    }

    void readQuoted() {
        const QString& line = entry_.exec;
        exists_ = true; // "" is an argument
        for (++at_; at_ < line.size() && line[at_] != u'"'; ++at_) {
            if (line[at_] == u'\\' && at_ + 1 < line.size())
                ++at_;
            argument_ += line[at_];
        }
        valid_ = at_ < line.size();
    }

    void expand() {
        const QChar code = ++at_ < entry_.exec.size() ? entry_.exec[at_] : QChar();
        if (code == u'%') {
            add(u"%"_qs);
        } else if (code == u'c') {
            add(entry_.name);
        } else if (code == u'k') {
            add(entry_.path);
        } else if (code == u'i') {
            endArgument();
            if (!entry_.icon.isEmpty())
                arguments_ += {u"--icon"_qs, entry_.icon};
        } else if (code.isNull() || !QStringView(u"fFuUdDnNvm").contains(code)) {
            valid_ = false;
        }
    }

    const DesktopEntry& entry_;
    QStringList arguments_;
    QString argument_;
    qsizetype at_ = 0;
    bool exists_ = false; // the argument under way has begun
    bool valid_ = true;
};

} // namespace

QStringList applicationDataFolders() {
    const auto variable = [](const char* name, const QString& fallback) {
        const QString value = qEnvironmentVariable(name);
        return value.isEmpty() ? fallback : value;
    };
    const QString own = variable("XDG_DATA_HOME", QDir::homePath() + u"/.local/share"_qs);
    const QString shared = variable("XDG_DATA_DIRS", u"/usr/local/share:/usr/share"_qs);
    QStringList folders{own};
    folders += shared.split(u':', Qt::SkipEmptyParts);
    folders += {QDir::homePath() + u"/.local/share/flatpak/exports/share"_qs,
                u"/var/lib/flatpak/exports/share"_qs, u"/var/lib/snapd/desktop"_qs};
    folders.removeDuplicates();
    return folders;
}

std::optional<DesktopEntry> parseDesktopEntry(const QString& text) {
    DesktopEntry entry;
    bool inside = false;
    bool found = false;
    for (const auto line : QStringView(text).tokenize(u'\n')) {
        const auto trimmed = line.trimmed();
        if (trimmed.startsWith(u'[')) {
            inside = trimmed == u"[Desktop Entry]";
            found = found || inside;
            continue;
        }
        const qsizetype equals = trimmed.indexOf(u'=');
        if (inside && equals > 0 && !trimmed.startsWith(u'#'))
            take(entry, trimmed.left(equals).trimmed(), unescaped(trimmed.mid(equals + 1).trimmed()));
    }
    return found ? std::optional(entry) : std::nullopt;
}

std::optional<DesktopEntry> findDesktopEntry(const QStringList& ids, const QStringList& folders) {
    for (const auto& id : ids) {
        if (!isPlainId(id))
            continue;
        for (const auto& folder : folders) {
            const QString path = u"%1/applications/%2.desktop"_qs.arg(folder, id);
            auto entry = readDesktopFile(path);
            if (!entry)
                continue;
            if (entry->hidden || (!entry->tryExec.isEmpty() && !isRunnable(entry->tryExec)))
                break;
            entry->id = id;
            entry->path = path;
            return entry;
        }
    }
    return std::nullopt;
}

QStringList execArguments(const DesktopEntry& entry) {
    return ExecReader(entry).read();
}

bool launchDesktopEntry(const DesktopEntry& entry) {
    QStringList command = execArguments(entry);
    if (command.isEmpty() || command.constFirst().isEmpty() || entry.terminal)
        return false;
    QProcess process;
    process.setProgram(command.takeFirst());
    process.setArguments(command);
    process.setWorkingDirectory(entry.workingFolder);
    // What a player has to say belongs into no log of ours.
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    return process.startDetached();
}

} // namespace merlode
