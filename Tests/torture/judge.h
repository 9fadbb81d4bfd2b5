#pragma once

#include "Tests/torture/point.h"

/// Compares what a run did with what is promised, and writes what it finds into the run's result.
class Judge {
  public:
    /// `undamaged` is the result of a run without faults; null for that run itself.
    Judge(PointResult& result, const Scenario& scenario, FaultPlan plan, const PointResult* undamaged);

    void Complain(const std::string& text);

    /// The codes are documented, and tell a success only where there was one.
    void Codes();

    /// The calling thread is as it was before.
    void Thread();

    /// What was sent was announced. To be called before the undisturbed run.
    void Announcement(Stage& stage);

    /// Trace statements have kept the last-error value.
    void LastErrors(const LastErrorWatch& watch);

    /// One whole document or none was delivered, and the undisturbed run afterwards, which gave
    /// `secondCode`, is none the worse. `trace` is that of the run itself.
    void Documents(Stage& stage, DWORD secondCode, const std::string& trace);

    /// Nothing that is secret shows.
    void Secrets(const Stage& stage);

    /// Nothing is left, now that the module is unloaded.
    void Leavings(const Stage& stage);

  private:
    void _Code(DWORD code);
    void _Delivery(const char* whose, const ThreadResult& thread, const std::string& whole);
    void _Record(const Stage& stage);
    [[nodiscard]] bool _IsExcused(const ThreadResult& thread) const;
    [[nodiscard]] bool _HasNewError() const;

    PointResult& _m_result;
    const Scenario& _m_scenario;
    FaultPlan _m_plan;
    const PointResult* _m_undamaged;
};
