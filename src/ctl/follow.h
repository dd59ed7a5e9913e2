#pragma once

#include "ctl/command_line.h"

#include <QByteArray>
#include <QJsonObject>

#include <optional>

namespace merlode::ctl {

/// Cuts what comes out of a pipe into lines.
class LineBuffer {
  public:
    /// A status is a few hundred bytes; a longer line than this is dropped whole.
    static constexpr qsizetype kLongestLine = 1024 * 1024;

    void append(const char* bytes, qsizetype count);
    /// The next whole line without its newline.
    std::optional<QByteArray> next();

  private:
    QByteArray bytes_;
    qsizetype read_ = 0;    ///< before this, lines have been taken
    bool dropping_ = false; ///< within a line that is too long
};

/// Decides what "status --follow" prints.
class StatusPrinter {
  public:
    explicit StatusPrinter(const Command& command) : json_(command.json), format_(command.format) {}

    /// What to print for this status, with its newline; nothing when it would be the same as before.
    std::optional<QByteArray> next(const QJsonObject& status);

  private:
    bool json_;
    std::optional<FormatTemplate> format_;
    std::optional<QByteArray> previous_;
};

/// "status --follow": prints until the program quits, nobody reads any more or an interrupt comes, and gives
/// the exit code. The last two end the process from within. Blocks.
int follow(const Command& command);

} // namespace merlode::ctl
