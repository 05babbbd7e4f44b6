#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QString>

namespace vyn {

/// How long the rest of a step will take, judged by the time that its part so far took.
class RemainingTime {
    Q_DECLARE_TR_FUNCTIONS(RemainingTime)
  public:
    void start() { since_.start(); }
    /// Words to follow the percentage, such as ", 2 min 5 s left"; empty while too little is known.
    QString text(double fraction) const;
    /// The same for a known time.
    static QString text(double elapsed_seconds, double fraction);

  private:
    QElapsedTimer since_;
};

}  // namespace vyn
