// Preloaded into a program with a window: says when that was first painted, how much memory the program has
// then, when it would have been painted had no other held the processor, and how long it had that; then ends
// it. FIRSTPAINT_START is the time of its start on the monotonic clock, in ns.

#include <unistd.h>

#include <QApplication>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {

class clsFirstPaint : public QObject {
  protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        const auto* const widget = qobject_cast<QWidget*>(watched);
        if (event->type() == QEvent::Paint && widget != nullptr && !m_seen) {
            m_seen = true;
            QTimer::singleShot(0, this, &clsFirstPaint::Tell);  // all that is painted with it comes before
        }
        return false;
    }

  private:
    static void Tell() {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const double start = std::atof(std::getenv("FIRSTPAINT_START"));
        const double took = static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec) - start;
        long pages = 0;
        long resident = 0;
        if (std::FILE* statm = std::fopen("/proc/self/statm", "r")) {
            if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
            std::fclose(statm);
        }
        double ran = 0;
        double waited = 0;  // ready to run, while another ran
        if (std::FILE* times = std::fopen("/proc/thread-self/schedstat", "r")) {
            if (std::fscanf(times, "%lf %lf", &ran, &waited) != 2) waited = 0;
            std::fclose(times);
        }
        std::printf("%.3f %.2f %.3f %.3f\n", took / 1e6,
                    static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0,
                    (took - waited) / 1e6, ran / 1e6);
        std::fflush(stdout);
        _exit(0);
    }
    bool m_seen = false;
};

void Install() {
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr)
        QCoreApplication::instance()->installEventFilter(new clsFirstPaint);
}
Q_COREAPP_STARTUP_FUNCTION(Install)

}  // namespace
