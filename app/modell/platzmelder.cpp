#include "app/modell/platzmelder.hpp"

#include <QThread>

#include "kern/datensaetze.hpp"
#include "kern/format.hpp"

namespace hainbrem {

QtWecker::QtWecker() {
    timer_.setSingleShot(true);
    QObject::connect(&timer_, &QTimer::timeout, [this] {
        if (auto k = std::move(klingeln_)) k();
    });
}

void QtWecker::stellen(std::chrono::milliseconds dauer, std::function<void()> klingeln) {
    klingeln_ = std::move(klingeln);
    timer_.start(dauer);
}

void QtWecker::abstellen() {
    timer_.stop();
    klingeln_ = nullptr;
}

Platzmelder::Platzmelder(Teile teile, QObject* eltern) : QObject(eltern), teile_(std::move(teile)) {
    if (!teile_.wecker) teile_.wecker = std::make_shared<QtWecker>();
    if (!teile_.lesen) teile_.lesen = &Plattenstand::jetzt;
    if (!teile_.vollzugriff) teile_.vollzugriff = &Zugriff::vollzugriff;
    if (!teile_.melden) {
        eigenerMelder_ = std::make_unique<plattform::Benachrichtiger>();
        teile_.melden = [m = eigenerMelder_.get()](const plattform::Benachrichtigung& b) { m->zeige(b); };
    }
    pruefer_.setMaxThreadCount(1);
    pruefer_.setThreadPriority(QThread::LowPriority);
}

Platzmelder::~Platzmelder() {
    anhalten();
    pruefer_.waitForDone();
}

Platzmelder::Lage Platzmelder::lageFuer(int64_t frei, int64_t grenze) {
    return Plattenstand{.gesamt = 0, .echtFrei = frei, .mitLoeschbarem = 0}.lage(grenze);
}

bool Platzmelder::meldet(Lage vorher, Lage neu, int64_t frei, int64_t grenze) {
    return neu != vorher && (frei < kritischeGrenze || (vorher == Lage::gut && frei < grenze));
}

std::string Platzmelder::text(int64_t echtFrei) {
    return "Nur noch " + alsBytes(echtFrei) +
           " wirklich frei. Programme können bald abstürzen. Hainbrem räumt die sicheren Caches mit einem Klick weg.";
}

Plattenstand Platzmelder::lies() {
    Q_ASSERT(QThread::currentThread() == thread());
    stand_ = teile_.lesen(teile_.home);
    emit gelesen(stand_);
    return stand_;
}

void Platzmelder::anfangen() {
    const Plattenstand s = lies();
    letzteLage_ = s.lage(teile_.warnGrenze());
    if (letzteLage_ == Lage::kritisch) warnen(letzteLage_);
}

void Platzmelder::aktualisieren() {
    const int64_t frei = lies().echtFrei;
    // read on every pass, so a changed threshold counts from the next pass on
    const int64_t grenze = teile_.warnGrenze();
    const Lage neu = lageFuer(frei, grenze);
    if (meldet(letzteLage_, neu, frei, grenze)) warnen(neu);
    letzteLage_ = neu;
}

void Platzmelder::warnen(Lage lage) {
    const bool kritisch = lage == Lage::kritisch;
    teile_.melden({kritisch ? titelKritisch : titelKnapp, text(stand_.echtFrei), kritisch});
}

void Platzmelder::beobachten() {
    if (laeuft_) return;
    laeuft_ = true;
    durchgaenge_ = 0;
    schlafen();
}

void Platzmelder::anhalten() {
    laeuft_ = false;
    teile_.wecker->abstellen();
}

void Platzmelder::schlafen() {
    if (laeuft_) teile_.wecker->stellen(teile_.takt, [this] { durchgang(); });
}

void Platzmelder::durchgang() {
    if (!laeuft_) return;
    aktualisieren();
    if (++durchgaenge_ % 3 != 0) {
        schlafen();
        return;
    }
    // once a minute: does the app still have full disk access? The next sleep waits for the answer.
    pruefer_.start([this, test = teile_.vollzugriff, home = teile_.home] {
        const bool an = test(home);
        QMetaObject::invokeMethod(
            this,
            [this, an] {
                emit vollzugriffGelesen(an);
                schlafen();
            },
            Qt::QueuedConnection);
    });
}

}  // namespace hainbrem
