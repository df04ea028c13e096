#include "UserDefaults.h"

#include "AtomicFile.h"
#include "FileLock.h"
#include "Folders.h"

#include <QFile>
#include <QJsonDocument>
#include <QtConcurrentRun>

using namespace std::chrono_literals;

namespace {

// JSON has no binary values: data stands as an object with this one key.
const QString base64Key = QStringLiteral("base64");

/// Others hold the lock for as long as they need to read and write one file.
constexpr auto lockPatience = 10s;

QJsonValue toJSON(const QByteArray &data)
{
    return QJsonObject{{base64Key, QString::fromLatin1(data.toBase64())}};
}

std::optional<QByteArray> toData(const QJsonValue &value)
{
    const QJsonValue text = value[base64Key];
    return text.isString() ? std::optional(QByteArray::fromBase64(text.toString().toLatin1())) : std::nullopt;
}

/// None when the text is not a JSON object. What was never written is an empty one.
std::optional<QJsonObject> toObject(const std::optional<QByteArray> &text)
{
    if (!text || text->isEmpty())
        return QJsonObject();
    const QJsonDocument document = QJsonDocument::fromJson(*text);
    return document.isObject() ? std::optional(document.object()) : std::nullopt;
}

/// Keeps a damaged file under a name that nothing has yet, unless a former try has kept it.
bool setAside(const QString &filePath, const QByteArray &content)
{
    QString aside = filePath + QStringLiteral(".damaged");
    for (int number = 2; QFile::exists(aside); ++number) {
        if (readWhole(aside).value_or(std::nullopt) == content)
            return true;
        aside = filePath + QStringLiteral(".damaged-%1").arg(number);
    }
    return QFile::copy(filePath, aside);
}

} // namespace

UserDefaults &UserDefaults::shared()
{
    static UserDefaults defaults(Folders::user().configuration + QStringLiteral("/com.vaelix.app.json"));
    return defaults;
}

UserDefaults::UserDefaults(QString filePath)
    : m_filePath(std::move(filePath))
{
    m_thread.setMaxThreadCount(1);
    connect(&m_writing, &QFutureWatcherBase::finished, this, &UserDefaults::finishWriting);
}

UserDefaults::~UserDefaults()
{
    flush();
}

std::optional<QByteArray> UserDefaults::data(const QString &key) const
{
    return toData(value(key));
}

std::optional<QString> UserDefaults::text(const QString &key) const
{
    const QJsonValue text = value(key);
    return text.isString() ? std::optional(text.toString()) : std::nullopt;
}

bool UserDefaults::isTrue(const QString &key) const
{
    return value(key).toBool();
}

void UserDefaults::setData(const QString &key, const QByteArray &value)
{
    change(key, [json = toJSON(value)](const QJsonValue &) { return json; });
}

void UserDefaults::setText(const QString &key, const QString &value)
{
    change(key, [value](const QJsonValue &) { return QJsonValue(value); });
}

void UserDefaults::setTrue(const QString &key, bool value)
{
    change(key, [value](const QJsonValue &) { return QJsonValue(value); });
}

void UserDefaults::changeData(const QString &key, DataChange change)
{
    this->change(key, [change = std::move(change)](const QJsonValue &value) { return toJSON(change(toData(value))); });
}

QJsonValue UserDefaults::value(const QString &key) const
{
    const auto text = readWhole(m_filePath);
    QJsonValue value = toObject(text.value_or(std::nullopt)).value_or(QJsonObject()).value(key);
    for (const Change &change : m_pending)
        if (change.key == key)
            value = change.apply(value);
    return value;
}

void UserDefaults::change(const QString &key, ValueChange change)
{
    m_pending.append({key, std::move(change)});
    if (!m_isWriting)
        startWriting();
}

void UserDefaults::startWriting()
{
    m_isWriting = true;
    m_tried = m_pending.size();
    m_writing.setFuture(QtConcurrent::run(&m_thread, &UserDefaults::write, m_filePath, m_pending));
}

void UserDefaults::finishWriting()
{
    if (!m_isWriting || !m_writing.future().isFinished())
        return;
    m_isWriting = false;
    const QString problem = m_writing.result();
    const bool hasMore = m_pending.size() > m_tried;
    if (problem.isEmpty())
        m_pending.remove(0, m_tried);
    if (hasMore)
        startWriting();
    if (m_problem == problem)
        return;
    m_problem = problem;
    Q_EMIT problemChanged();
}

void UserDefaults::flush()
{
    while (m_isWriting) {
        m_writing.waitForFinished();
        finishWriting();
    }
}

QString UserDefaults::write(const QString &filePath, const QList<Change> &changes)
{
    const auto failure = [](const QString &reason) { return QStringLiteral("设置没有保存：") + reason; };
    const QString lockPath = filePath + QStringLiteral(".lock");
    const auto lock = FileLock::take(lockPath, lockPatience);
    if (!lock)
        return failure(FileError::notWritten(lockPath, lock.error().value()).description);
    const auto text = readWhole(filePath);
    if (!text)
        return failure(text.error().description);
    const auto object = toObject(*text);
    if (!object && !setAside(filePath, **text))
        return failure(QStringLiteral("%1 已损坏，且无法另存一份").arg(filePath));

    QJsonObject changed = object.value_or(QJsonObject());
    for (const Change &change : changes)
        changed.insert(change.key, change.apply(changed.value(change.key)));
    if (object == changed)
        return {};
    const auto written = writeAtomically(filePath, QJsonDocument(changed).toJson());
    return written ? QString() : failure(written.error().description);
}
