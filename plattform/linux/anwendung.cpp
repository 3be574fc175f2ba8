// Linux: notifications through org.freedesktop.Notifications (Qt DBus), login item as an XDG
// autostart entry.
#include "plattform/anwendung.hpp"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QProcess>
#include <QUrl>
#include <QVariantMap>
#include <atomic>
#include <fstream>
#include <optional>

#include "basis/pfade.hpp"
#include "plattform/plattform.hpp"

namespace hainbrem::plattform {

struct Benachrichtiger::Innen {
    QString adresse;  // empty: session bus
    QString name;     // our own connection's name, when `adresse` is given
    std::optional<QDBusConnection> bus;
    QObject kontext;  // owns the pending calls; gone with us, so no reply reaches a dead object
    uint letzteId = 0;
    bool wartet = false;
    std::optional<Benachrichtigung> naechste;

    QDBusConnection& verbindung() {
        if (!bus) {
            if (adresse.isEmpty()) {
                bus = QDBusConnection::sessionBus();
            } else {
                static std::atomic<int> zaehler{0};
                name = QStringLiteral("hainbrem-melder-%1").arg(zaehler++);
                bus = QDBusConnection::connectToBus(adresse, name);
            }
        }
        return *bus;
    }

    void sende(const Benachrichtigung& b) {
        QDBusMessage m = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("/org/freedesktop/Notifications"),
            QStringLiteral("org.freedesktop.Notifications"), QStringLiteral("Notify"));
        QVariantMap hinweise;
        hinweise.insert(QStringLiteral("urgency"), QVariant::fromValue<uchar>(b.kritisch ? 2 : 1));
        if (b.kritisch)
            hinweise.insert(QStringLiteral("sound-name"), QStringLiteral("dialog-warning"));
        else
            hinweise.insert(QStringLiteral("suppress-sound"), true);
        // replaces_id: the server swaps the previous warning for this one
        m << QStringLiteral("Hainbrem") << letzteId << QString() << QString::fromStdString(b.titel)
          << QString::fromStdString(b.text) << QStringList() << hinweise << -1;
        wartet = true;
        auto* w = new QDBusPendingCallWatcher(verbindung().asyncCall(m, 5000), &kontext);
        QObject::connect(w, &QDBusPendingCallWatcher::finished, &kontext, [this, w] {
            const QDBusPendingReply<uint> antwort = *w;
            if (!antwort.isError()) letzteId = antwort.value();
            w->deleteLater();
            wartet = false;
            if (naechste) {
                const Benachrichtigung n = *naechste;
                naechste.reset();
                sende(n);
            }
        });
    }
};

Benachrichtiger::Benachrichtiger(std::string bus) : innen_(std::make_unique<Innen>()) {
    innen_->adresse = QString::fromStdString(bus);
}

Benachrichtiger::~Benachrichtiger() {
    const QString name = innen_->name;
    innen_.reset();
    if (!name.isEmpty()) QDBusConnection::disconnectFromBus(name);
}

void Benachrichtiger::zeige(const Benachrichtigung& b) {
    if (!innen_->verbindung().isConnected()) return;
    // one call at a time, so the next one knows the id it replaces
    if (innen_->wartet)
        innen_->naechste = b;
    else
        innen_->sende(b);
}

bool imDateimanagerZeigen(const fs::path& pfad) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        QDBusMessage m = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
            QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
        m << QStringList{QUrl::fromLocalFile(QString::fromStdString(pfad.native())).toString()} << QString();
        const QDBusMessage antwort = bus.call(m, QDBus::Block, 3000);
        if (antwort.type() == QDBusMessage::ReplyMessage) return true;
    }
    std::error_code e;
    const fs::path ordner = fs::is_directory(pfad, e) ? pfad : pfad.parent_path();
    return QProcess::startDetached(QStringLiteral("xdg-open"), {QString::fromStdString(ordner.native())});
}

namespace Anmeldung {

namespace {

bool liegtInNormal(const fs::path& pfad, const fs::path& ordner) {
    return liegtIn(pfad.lexically_normal().native(), ordner.lexically_normal().native());
}

fs::path eintrag(const fs::path& home) {
    fs::path konfig = home / ".config";
    if (const char* x = std::getenv("XDG_CONFIG_HOME"); x && *x == '/' && liegtInNormal(x, home)) konfig = x;
    return konfig / "autostart/hainbrem.desktop";
}

// Exec= quoting of the desktop entry format: the whole path in double quotes, with `"`, `` ` ``,
// `$` and `\` escaped, `%` doubled, and every `\` doubled once more for the string value.
std::string execWert(const std::string& programm) {
    std::string innen;
    for (const char c : programm) {
        if (c == '"' || c == '`' || c == '$' || c == '\\') innen += '\\';
        if (c == '%') innen += '%';
        innen += c;
    }
    std::string wert = "\"";
    for (const char c : innen) {
        if (c == '\\') wert += '\\';
        wert += c;
    }
    return wert + "\"";
}

}  // namespace

bool setzen(bool an, const fs::path& home) {
    const fs::path datei = eintrag(home);
    std::error_code e;
    if (!an) {
        fs::remove(datei, e);
        return !e;
    }
    const fs::path programm = eigenesProgramm();
    if (programm.empty()) return false;
    fs::create_directories(datei.parent_path(), e);
    // written beside and renamed, so a crash never leaves half an entry
    const fs::path neu = datei.native() + ".neu";
    {
        std::ofstream aus(neu, std::ios::trunc);
        aus << "[Desktop Entry]\nType=Application\nName=Hainbrem\n"
               "Comment=Wacht über den freien Platz deiner Platte\n"
            << "Exec=" << execWert(programm.native()) << "\nTerminal=false\nX-GNOME-Autostart-enabled=true\n";
        if (!aus.flush()) {
            fs::remove(neu, e);
            return false;
        }
    }
    fs::rename(neu, datei, e);
    if (e) fs::remove(neu, e);
    return fs::exists(datei, e);
}

bool setzen(bool an) { return setzen(an, heimOrdner()); }

bool istAn(const fs::path& home) {
    std::error_code e;
    return fs::is_regular_file(eintrag(home), e);
}

bool istAn() { return istAn(heimOrdner()); }

}  // namespace Anmeldung
}  // namespace hainbrem::plattform
