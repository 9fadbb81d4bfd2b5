#pragma once

/// How something that is looked at now and then grows: the straight line through the values with the least
/// squared distance from them.
class Growth {
  public:
    void Add(double step, double value)
    {
        ++_m_count;
        _m_steps += step;
        _m_values += value;
        _m_stepSquares += step * step;
        _m_products += step * value;
        if (_m_count == 1)
            _m_first = value;
        _m_last = value;
    }

    /// How much a step adds. 0 while there are fewer than two values.
    [[nodiscard]] double PerStep() const
    {
        const double spread = _m_count * _m_stepSquares - _m_steps * _m_steps;
        return spread > 0 ? (_m_count * _m_products - _m_steps * _m_values) / spread : 0;
    }

    [[nodiscard]] double First() const { return _m_first; }

    [[nodiscard]] double Last() const { return _m_last; }

  private:
    double _m_count = 0;
    double _m_steps = 0;
    double _m_values = 0;
    double _m_stepSquares = 0;
    double _m_products = 0;
    double _m_first = 0;
    double _m_last = 0;
};
