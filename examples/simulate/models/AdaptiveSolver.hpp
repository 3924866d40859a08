#pragma once

#include <boost/numeric/odeint.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace simulate {

/// Solves x' = f(x, t) step by step with the error-controlled Dormand-Prince method of order 5 and
/// its dense output.
///
/// A step can be told not to pass a time, which it then hits exactly; that is how discontinuities
/// at known times are met. Discontinuities at unknown times are found on the dense output, from
/// where the caller restarts.
template <class State>
class AdaptiveSolver {
public:
    /// The tolerance bounds the absolute and the relative error of a step.
    AdaptiveSolver(double tolerance, double largestStep)
        : dense(boost::numeric::odeint::make_dense_output(
              tolerance, tolerance, largestStep,
              boost::numeric::odeint::runge_kutta_dopri5<State>())),
          stepSize(largestStep) {}

    /// Goes on from another state or time, or with another right-hand side.
    void restart(const State& state, double time) {
        dense.initialize(state, time, stepSize);
        now = before = time;
        fresh = true;
    }

    /// One accepted step that ends at the limit at the latest; the limit must be later than
    /// time(). `system` is called as system(x, dxdt, t).
    template <class System>
    void step(const System& system, double limit) {
        const double room = limit - now;
        const bool clipped = stepSize >= room;
        if (clipped || fresh) {
            dense.initialize(State(dense.current_state()), now, std::min(stepSize, room));
        }
        dense.do_step(system);
        const bool reached = clipped && reaches(dense.current_time(), limit);
        // A step that was cut short by the limit says nothing against the step size before.
        stepSize =
            reached ? std::max(stepSize, dense.current_time_step()) : dense.current_time_step();
        before = now;
        now = reached ? limit : dense.current_time();
        fresh = reached;
    }

    double time() const { return now; }
    double previousTime() const { return before; }
    const State& state() const { return dense.current_state(); }

    /// The state inside the last step, between previousTime() and time(), to order 4.
    State stateAt(double time) const {
        State state;
        dense.calc_state(time, state);
        return state;
    }

private:
    using Dense = typename boost::numeric::odeint::result_of::make_dense_output<
        boost::numeric::odeint::runge_kutta_dopri5<State>>::type;

    static bool reaches(double time, double limit) {
        return std::abs(time - limit) <= 4 * std::numeric_limits<double>::epsilon() * limit;
    }

    Dense dense;
    double stepSize;
    double now = 0;
    double before = 0;
    bool fresh = true;
};

} // namespace simulate
