// outcome.h: a value, or one sentence for the user that says why there is none.
#pragma once

#include <QString>

#include <utility>
#include <variant>

/// One complete sentence.
struct Fault
{
    QString sentence;
};

template<typename T>
class Outcome
{
public:
    Outcome(T value) : m_content(std::move(value)) {}
    Outcome(Fault fault) : m_content(std::move(fault)) {}

    explicit operator bool() const { return std::holds_alternative<T>(m_content); }

    /// Only when there is one.
    const T& value() const { return std::get<T>(m_content); }

    /// Moves the value out; only when there is one.
    T take() { return std::move(std::get<T>(m_content)); }

    /// Empty when there is a value.
    QString fault() const { return *this ? QString() : std::get<Fault>(m_content).sentence; }

private:
    std::variant<T, Fault> m_content;
};
