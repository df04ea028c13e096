#pragma once

#include <QObject>
#include <QVariant>

class QDBusVariant;

/// What the desktop asks of every application's look. It tells through the settings portal; where
/// there is none, the platform's palette says whether windows are dark. Interface thread only.
class Appearance : public QObject
{
    Q_OBJECT
    /// Setting it stops following the desktop.
    Q_PROPERTY(bool isDark READ isDark WRITE setDark NOTIFY isDarkChanged)
    Q_PROPERTY(bool prefersReducedMotion READ prefersReducedMotion NOTIFY prefersReducedMotionChanged)

public:
    static Appearance &shared();

    /// Asks the portal, waiting a tenth of a second at most; a later answer comes by the signals.
    explicit Appearance(QObject *parent = nullptr);

    bool isDark() const { return m_isDark; }
    void setDark(bool isDark);
    bool prefersReducedMotion() const { return m_prefersReducedMotion; }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void isDarkChanged();
    void prefersReducedMotionChanged();

private Q_SLOTS:
    void takeSetting(const QString &space, const QString &key, const QDBusVariant &value);

private:
    void askPortal();
    void take(const QString &space, const QString &key, const QVariant &value);
    void takePalette();
    void follow(bool isDark);

    bool m_isDark = false;
    bool m_isChosen = false; ///< by setDark()
    bool m_portalTellsScheme = false;
    bool m_prefersReducedMotion = false;
};
