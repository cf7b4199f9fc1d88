#pragma once

#include "cli/Command.h"

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <cstdint>

/// The arguments of one call as texts by key, from the command line or from a line of a batch.
class Arguments {
public:
    void Add(const QString& key, const QString& text) { m_texts[key] << text; }
    /// Takes over the members of a batch line; null stays known as such and counts as not given.
    /// @return empty, or which member cannot be an argument
    [[nodiscard]] QString AddJson(const QJsonObject& line);

    /// @return empty, or what is missing, unknown or out of range, in plain words
    [[nodiscard]] QString Check(const std::vector<ArgumentSpec>& specs) const;

    [[nodiscard]] bool Has(const QString& key) const { return !m_texts.value(key).isEmpty(); }
    [[nodiscard]] bool IsNull(const QString& key) const { return m_texts.contains(key) && !Has(key); }
    [[nodiscard]] QString Text(const QString& key, const QString& fallback = {}) const;
    [[nodiscard]] std::int64_t Number(const QString& key, std::int64_t fallback = 0) const;
    [[nodiscard]] bool On(const QString& key) const;
    [[nodiscard]] QStringList List(const QString& key) const { return m_texts.value(key); }

private:
    QHash<QString, QStringList> m_texts;
};
