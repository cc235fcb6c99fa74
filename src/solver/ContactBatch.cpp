// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include "solver/ContactBatch.hpp"

#include "contact/ContactLaw.hpp"
#include "solver/BatchVelocities.hpp"

namespace zelvik::contact {

namespace {

inline Lanes select(const LaneMask& mask, const Lanes& a, const Lanes& b) {
  return mask ? a : b;
}

/// Keeps the compiler from holding the matrices of a batch, which are read twice, on the stack.
inline void forgetLoads() {
  asm volatile("" : : : "memory");
}

/// One lane. A value that is put into a vector in memory would have to wait there.
constexpr LaneMask kOnly[kLanes] = {{-1, 0, 0, 0}, {0, -1, 0, 0}, {0, 0, -1, 0}, {0, 0, 0, -1}};

/// Contacts that slide, one after the other: replaces their changes.
/// @param which bit l is set if lane l slides, @param start impulses that would stick, @param v
/// velocities minus targets with the impulses applied, @param z normal residuals without them
template <int sides>
__attribute__((noinline)) Lanes3 slideLanes(const ContactBatch<sides>& batch, unsigned which,
                                            Lanes3 start, Lanes3 v, Lanes z, double relaxation,
                                            Lanes3 change) {
  for (; which != 0; which &= which - 1) {
    const auto l = static_cast<size_t>(std::countr_zero(which));
    Single3DContactProblem& p = *batch.problems[l];
    const Vec3 old = getLane(batch.impulse, l);
    Vec3 u = getLane(v, l);
    u[2] += batch.target[l];
    p.imp_ = getLane(start, l);
    const double share = slide(p, u - p.delassus_ * old, z[l]) ? relaxation : 1.0;
    const Vec3 c = share * (p.imp_ - old);
    change = {select(kOnly[l], broadcast(c[0]), change.x),
              select(kOnly[l], broadcast(c[1]), change.y),
              select(kOnly[l], broadcast(c[2]), change.z)};
  }
  return change;
}

/// One visit of all lanes of a batch. @return the square of the error per lane
template <int sides>
__attribute__((always_inline)) inline Lanes visitBatch(ContactBatch<sides>& batch,
                                                       Velocities<sides>& bodies,
                                                       double relaxation) {
  const Lanes3 v = bodies.ofContacts(batch), old = batch.impulse;
  const ClosedForm<FourContacts> f = closedForm<FourContacts>(batch, old, v);
  const Lanes r = broadcast(relaxation);
  Lanes3 change = {r * select(f.opens, -old.x, f.change.x), r * select(f.opens, -old.y, f.change.y),
                   r * select(f.opens, -old.z, f.change.z)};
  const unsigned slides = lanesSet(~(f.opens | f.sticks)) & batch.used;
  if (slides != 0) change = slideLanes(batch, slides, f.candidate, v, f.z, relaxation, change);
  forgetLoads();

  batch.impulse = old + change;
  bodies.add(batch, change);
  const Lanes error = select(f.opens, f.w, v.z);
  return error * error;
}

}  // namespace

template <int sides>
double ContactRun<sides>::visit(bool forward, BodyVelocity* velocities, double relaxation) const {
  Velocities<sides> inLanes(bodies, velocities);
  Lanes squares;
  if (batches.size() == 1) {  // has all in registers
    squares = visitBatch(batches.front(), inLanes, relaxation);
    inLanes.handOn(bodies, velocities);
    return sumOfLanes(squares);
  }
  squares = Lanes{};
  const std::ptrdiff_t way = forward ? 1 : -1;
  ContactBatch<sides>* batch = forward ? &batches.front() : &batches.back();
  for (size_t i = 0; i < batches.size(); ++i, batch += way)
    squares += visitBatch(*batch, inLanes, relaxation);
  inLanes.handOn(bodies, velocities);
  return sumOfLanes(squares);
}

template <int sides>
void ContactRun<sides>::handOnImpulses(BodyVelocity* velocities) const {
  Velocities<sides> inLanes(bodies, velocities);
  for (const ContactBatch<sides>& batch : batches) inLanes.add(batch, batch.impulse);
  inLanes.handOn(bodies, velocities);
}

template <int sides>
void ContactBatch<sides>::writeImpulses() const {
  for (size_t l = 0; l < kLanes; ++l)
    if (problems[l] != nullptr) problems[l]->imp_ = getLane(impulse, l);
}

template void ContactBatch<1>::writeImpulses() const;
template void ContactBatch<2>::writeImpulses() const;
template struct ContactRun<1>;
template struct ContactRun<2>;

}  // namespace zelvik::contact
