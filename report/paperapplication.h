#pragma once

#include <QGuiApplication>

#include <cstdio>

namespace report {

/// The application of a program that makes papers: with fonts, without a screen. Made first in main().
class PaperApplication : public QGuiApplication
{
public:
    PaperApplication(int &argc, char *argv[]) : PaperApplication(argc, argv, quiet()) {}

private:
    PaperApplication(int &argc, char *argv[], QtMessageHandler usual) : QGuiApplication(argc, argv)
    {
        qInstallMessageHandler(usual);
    }

    /// What the platform says at its start about the session of who runs it is of no use here, but why it cannot be
    /// started.
    static QtMessageHandler quiet()
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        return qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &text) {
            if (type == QtFatalMsg)
                std::fprintf(stderr, "%s\n", qUtf8Printable(text));
        });
    }
};

} // namespace report
