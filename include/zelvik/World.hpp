// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ode/ode.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>
#include <zelvik/ContactReport.hpp>
#include <zelvik/EigenArguments.hpp>
#include <zelvik/Ledger.hpp>
#include <zelvik/Materials.hpp>
#include <zelvik/RayHit.hpp>
#include <zelvik/State.hpp>
#include <zelvik/Watch.hpp>
#include <zelvik/contact/BisectionContactSolver.hpp>
#include <zelvik/export.hpp>
#include <zelvik/math.hpp>
#include <zelvik/object/ArticulatedSystem/ArticulatedSystem.hpp>
#include <zelvik/object/Box.hpp>
#include <zelvik/object/Capsule.hpp>
#include <zelvik/object/CompliantLengthConstraint.hpp>
#include <zelvik/object/Compound.hpp>
#include <zelvik/object/ConvexHull.hpp>
#include <zelvik/object/Cylinder.hpp>
#include <zelvik/object/Ground.hpp>
#include <zelvik/object/HeightMap.hpp>
#include <zelvik/object/Mesh.hpp>
#include <zelvik/object/Object.hpp>
#include <zelvik/object/Sphere.hpp>
#include <zelvik/object/StiffLengthConstraint.hpp>

namespace zelvik {

class CollisionSpace;
class ContactHistory;
class ImpulseMemory;
class StateArchive;
class StepContacts;
class StepLedger;
class StepWatch;

/// A simulation: owns every object, every wire, the collision space, the contact solver and the
/// material table.
///
/// A caller fills it by the add operations, which return pointers that stay the world's, and
/// advances it by `integrate`, or by `integrate1` and `integrate2` to act on this step's contacts.
/// Objects are added and removed between steps only. Lengths in m, masses in kg, times in s, world
/// axes.
///
/// A world is used from one thread at a time. Different worlds may be made, stepped and destroyed
/// on different threads at once; those that collide meshes wait for each other (docs/threads.md).
class ZELVIK_API World {
 public:
  /// Collision group of everything that has no other default.
  static constexpr unsigned long kDefaultGroup = 1;
  /// Collision mask that meets every group.
  static constexpr unsigned long kAllMask = ~0ul;
  /// Collision group of grounds, and the default group of height maps: bit 63.
  static constexpr unsigned long kGroundGroup = 0x8000000000000000ul;

  /// Broad phases of `setBroadPhase`; the contacts are the same set, in another order.
  enum class BroadPhase {
    /// The default: all pairs for few shapes, sweep and prune along x for many, chosen in each step
    /// by their number alone. The order of contacts follows from the objects and their poses, not
    /// from what has been before. Never allocates once it is warm.
    AUTO,
    /// The collision library's hash space. Allocates in every step, and overlooks a pair now and
    /// then that meets at the origin of the world (0.4 % there, none elsewhere).
    HASH,
    SIMPLE,           ///< `AUTO` that always looks at all pairs
    SWEEP_AND_PRUNE,  ///< `AUTO` that always sorts along x; for many bodies that are spread out
    QUADTREE          ///< cells of 4 m in a square of 128 m about the origin; never allocates
  };

  /// Empty world: time step 0.005 s, gravity (0, 0, -9.81) m/s^2.
  World();
  /// World from a file: parameters, materials, objects (format: docs/world-file.md).
  ///
  /// Every fault in the file is fatal and ends the reading; if the callback comes back, the world
  /// holds what was read before. A number that cannot be converted may raise
  /// `std::invalid_argument` or `std::out_of_range`.
  /// @param configFile path; its directory replaces every "[THIS_DIR]" in the text of the file
  explicit World(const std::string& configFile);
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  // ---- parameters ----

  ///@{
  /// Gravity (m/s^2, world axes) from the next step on.
  void setGravity(const Mat<3, 1>& gravity) { gravity_ = gravity; }
  template <typename Derived, typename = IfVector3<Derived>>
  void setGravity(const Eigen::MatrixBase<Derived>& gravity) {
    readArgument(gravity, "setGravity", gravity_);
  }
  ///@}
  /// (m/s^2, world axes)
  const Mat<3, 1>& getGravity() const { return gravity_; }
  /// Time step (s) from the next step on. A value that is not finite and above 0 is stored and
  /// warned of once.
  void setTimeStep(double dt);
  /// (s)
  double getTimeStep() const { return timeStep_; }
  /// @param erp share of the penetration that becomes separating velocity (1/s); a negative one is
  ///   stored after the warning "ERP should be positive"
  /// @param erp2 added to every coefficient of restitution; not tested
  void setERP(double erp, double erp2);
  /// Share of the penetration that becomes separating velocity (1/s).
  double getERP() const { return solver_.getERP(); }
  /// What is added to every coefficient of restitution.
  double getERP2() const { return solver_.getERP2(); }
  /// @param relaxation weight of a newly computed impulse, 1 by default
  /// @param maxIterations sweep limit, 150 by default
  /// @param threshold stopping error per contact, 1e-8 by default
  void setContactSolverParam(double relaxation, double reserved1, double reserved2,
                             int maxIterations, double threshold);
  /// Properties of pairs with a name that the table does not know. @param friction coefficient, 0
  /// or more @param restitution coefficient, 0 to 1 @param restitutionThreshold impact speed below
  /// which nothing bounces (m/s)
  void setDefaultMaterial(double friction, double restitution, double restitutionThreshold);
  /// Properties of the pair (a, b), which is the same as (b, a); see `setDefaultMaterial`.
  void setMaterialPairProp(const std::string& a, const std::string& b, double friction,
                           double restitution, double restitutionThreshold);
  /// Replaces the material table by a copy.
  void updateMaterialProp(const MaterialManager& manager);
  /// Lets each solve start from the impulses of the step before instead of from zero; off at first.
  /// The solution that the sweeps converge to is the same; they come near to it sooner. So 10 to 30
  /// sweeps (`setContactSolverParam`) serve for piles and towers at rest that need more than 100
  /// from zero. The impulses become part of the state of the world: setting poses and velocities
  /// alone does not repeat a run to the bit. Switching it on or off
  /// forgets them.
  void setWarmStart(bool on);
  /// See `setWarmStart`.
  bool isWarmStarted() const { return warmStart_; }
  /// Lets contacts keep an overlap of `depth` (m; 1e-5 serves for robots and boxes); 0, as at
  /// first, for none. Without it bodies at rest overlap by about nothing, and an error of the
  /// solver or of the time step takes a contact away for a step now and then. With it `erp` acts on
  /// the overlap beyond the layer only, and a contact that overlaps by less may come nearer, so
  /// fast that the layer is reached within the step; bounces are as without, and so are wires and
  /// joint limits. A depth that is negative or not finite is fatal and not stored:
  /// "World::setContactSurfaceLayer: the depth must be finite and at least 0, but is *depth*".
  void setContactSurfaceLayer(double depth);
  /// See `setContactSurfaceLayer` (m).
  double getContactSurfaceLayer() const { return solver_.getSurfaceLayer(); }
  /// Puts all geoms, in object order, into a new space of the given kind. Between steps only. A
  /// value outside of the enumeration means `HASH`.
  void setBroadPhase(BroadPhase kind);
  /// See `setBroadPhase`.
  BroadPhase getBroadPhase() const;

  // ---- objects ----
  // `material` is the name that the material table knows. Two geoms collide if the group of one
  // meets the mask of the other, in either direction. Bad sizes are fatal in the object's
  // constructor.
  /// @param radius (m) @param mass (kg)
  Sphere* addSphere(double radius, double mass, const std::string& material = "",
                    unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// @param x, y, z full lengths
  Box* addBox(double x, double y, double z, double mass, const std::string& material = "",
              unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// Axis along z of the body. @param radius (m) @param height (m) @param mass (kg)
  Cylinder* addCylinder(double radius, double height, double mass, const std::string& material = "",
                        unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// @param height of the cylinder part, without the caps
  Capsule* addCapsule(double radius, double height, double mass, const std::string& material = "",
                      unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// Horizontal plane; everything below it collides. Its group is `kGroundGroup`.
  Ground* addGround(double height = 0.0, const std::string& material = "",
                    unsigned long mask = kAllMask);
  /// Several shapes as one body; each child brings its own material.
  Compound* addCompound(const std::vector<Compound::CompoundObjectChild>& children, double mass,
                        Mat<3, 1> com, const Mat<3, 3>& inertia,
                        unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// The same for Eigen types.
  template <typename Com, typename Inertia, typename = IfVector3<Com>,
            typename = IfMatrix33<Inertia>>
  Compound* addCompound(const std::vector<Compound::CompoundObjectChild>& children, double mass,
                        const Eigen::MatrixBase<Com>& com,
                        const Eigen::MatrixBase<Inertia>& inertia,
                        unsigned long group = kDefaultGroup, unsigned long mask = kAllMask) {
    Vec3 c;
    Mat33 M;
    const bool ok = readArgument(com, "addCompound", c) && readArgument(inertia, "addCompound", M);
    return ok ? addCompound(children, mass, c, M, group, mask) : nullptr;
  }
  /// A triangle mesh from an OBJ file; errors: those of `Mesh::loadObj`. @param mass (kg) @param
  /// inertia about the centre of mass (kg m^2, body axes) @param com centre of mass (m, body axes)
  /// @param scale factor of every coordinate of the file
  Mesh* addMesh(const std::string& fileName, double mass, const Mat<3, 3>& inertia,
                const Mat<3, 1>& com, double scale, const std::string& material = "",
                unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// The same for Eigen types.
  template <typename Inertia, typename Com, typename = IfMatrix33<Inertia>,
            typename = IfVector3<Com>>
  Mesh* addMesh(const std::string& fileName, double mass, const Eigen::MatrixBase<Inertia>& inertia,
                const Eigen::MatrixBase<Com>& com, double scale, const std::string& material = "",
                unsigned long group = kDefaultGroup, unsigned long mask = kAllMask) {
    Mat33 M;
    Vec3 c;
    const bool ok = readArgument(inertia, "addMesh", M) && readArgument(com, "addMesh", c);
    return ok ? addMesh(fileName, mass, M, c, scale, material, group, mask) : nullptr;
  }
  /// A second mesh from the file of the first, with the same mass data; an empty `material` means
  /// that of the source. Null is fatal: "World::addMesh: Got a nullptr for the reference mesh";
  /// null is then returned if the fatal callback comes back.
  Mesh* addMesh(const Mesh* source, const std::string& material = "",
                unsigned long group = kDefaultGroup, unsigned long mask = kAllMask);
  /// A solid convex body of corners (x, y, z each, m) and triangles that turn counter-clockwise
  /// seen from outside (three corners each, from 0), with the mass data of the solid; what is
  /// checked: see `ConvexHull`. @param mass (kg)
  ConvexHull* addConvexHull(const std::vector<double>& corners,
                            const std::vector<unsigned int>& triangles, double mass,
                            const std::string& material = "", unsigned long group = kDefaultGroup,
                            unsigned long mask = kAllMask);
  /// @param heights row by row, row 0 at low y
  HeightMap* addHeightMap(unsigned long xSamples, unsigned long ySamples, double xSize,
                          double ySize, double centerX, double centerY,
                          const std::vector<double>& heights, const std::string& material = "",
                          unsigned long group = kGroundGroup, unsigned long mask = kAllMask);
  /// From a grey PNG image: height = pixel * heightScale + heightOffset.
  HeightMap* addHeightMap(const std::string& pngFile, double centerX, double centerY, double xSize,
                          double ySize, double heightScale, double heightOffset,
                          const std::string& material = "", unsigned long group = kGroundGroup,
                          unsigned long mask = kAllMask);
  /// From a text file: sample counts, sizes, heights.
  HeightMap* addHeightMap(const std::string& textFile, double centerX, double centerY,
                          const std::string& material = "", unsigned long group = kGroundGroup,
                          unsigned long mask = kAllMask);
  /// From fractal noise.
  HeightMap* addHeightMap(double centerX, double centerY, TerrainProperties& terrain,
                          const std::string& material = "", unsigned long group = kGroundGroup,
                          unsigned long mask = kAllMask);
  /// A copy of another map, material included. Null is fatal: "World::addHeightMap: Got a nullptr
  /// for the reference heightmap"; null is then returned if the fatal callback comes back.
  HeightMap* addHeightMap(const HeightMap* source, unsigned long group = kGroundGroup,
                          unsigned long mask = kAllMask);
  /// A robot from a tree assembled by hand. Materials come from the tree.
  ArticulatedSystem* addArticulatedSystem(const Child& child,
                                          const std::string& resourceDirectory = "",
                                          unsigned long group = kDefaultGroup,
                                          unsigned long mask = kAllMask,
                                          ArticulatedSystemOption option = {});
  /// A robot from a URDF file, or from URDF text (anything that holds a "<").
  /// @param resourceDirectory where mesh files are; by default the directory of the file
  /// @param jointOrder joints whose branches come first, in this order
  ArticulatedSystem* addArticulatedSystem(const std::string& urdfPath,
                                          const std::string& resourceDirectory = "",
                                          const std::vector<std::string>& jointOrder = {},
                                          unsigned long group = kDefaultGroup,
                                          unsigned long mask = kAllMask,
                                          ArticulatedSystemOption option = {});

  /// Removes and deletes an object with its wires; the last object takes its index. Of several
  /// wires on the object one can survive, without bodies and without effect: remove them first.
  /// Contacts that others have with it are marked `skip_` and act no more; those with the last
  /// object get its new index. An unknown pointer gets the message "the object is already deleted".
  void removeObject(Object* object);
  ///@{
  /// Removes and deletes a wire; unknown pointers are ignored.
  void removeObject(StiffLengthConstraint* wire);
  void removeObject(CompliantLengthConstraint* wire);
  ///@}

  // ---- wires ----

  /// A wire that holds its length in the contact solve. Points are in body coordinates. A body that
  /// is null is fatal, for both kinds: "World::addStiffWire: Got a nullptr for body 1 of the wire";
  /// null is then returned if the fatal callback comes back.
  StiffLengthConstraint* addStiffWire(Object* body1, unsigned long localIdx1, Mat<3, 1> pos1,
                                      Object* body2, unsigned long localIdx2, Mat<3, 1> pos2,
                                      double length);
  /// A wire that is a spring. @param stiffness (N/m)
  CompliantLengthConstraint* addCompliantWire(Object* body1, int localIdx1, Mat<3, 1> pos1,
                                              Object* body2, int localIdx2, Mat<3, 1> pos2,
                                              double length, double stiffness);
  ///@{
  /// The same for points of Eigen types.
  template <typename Point1, typename Point2, typename = IfVector3<Point1>,
            typename = IfVector3<Point2>>
  StiffLengthConstraint* addStiffWire(Object* body1, unsigned long localIdx1,
                                      const Eigen::MatrixBase<Point1>& pos1, Object* body2,
                                      unsigned long localIdx2,
                                      const Eigen::MatrixBase<Point2>& pos2, double length) {
    Vec3 p1, p2;
    const bool ok =
        readArgument(pos1, "addStiffWire", p1) && readArgument(pos2, "addStiffWire", p2);
    return ok ? addStiffWire(body1, localIdx1, p1, body2, localIdx2, p2, length) : nullptr;
  }
  template <typename Point1, typename Point2, typename = IfVector3<Point1>,
            typename = IfVector3<Point2>>
  CompliantLengthConstraint* addCompliantWire(Object* body1, int localIdx1,
                                              const Eigen::MatrixBase<Point1>& pos1, Object* body2,
                                              int localIdx2, const Eigen::MatrixBase<Point2>& pos2,
                                              double length, double stiffness) {
    Vec3 p1, p2;
    if (!readArgument(pos1, "addCompliantWire", p1) || !readArgument(pos2, "addCompliantWire", p2))
      return nullptr;
    return addCompliantWire(body1, localIdx1, p1, body2, localIdx2, p2, length, stiffness);
  }
  ///@}
  /// The first stiff wire of that name, else the first compliant one, else null.
  LengthConstraint* getWire(const std::string& name);
  /// The first stiff wire of that name, else null: for stiff wires only.
  LengthConstraint* getConstraint(const std::string& name);

  // ---- stepping ----

  /// One step: `integrate1`, then `integrate2`.
  void integrate();
  /// First half: collisions, contact records, mass matrices and Jacobians of the present
  /// configuration. Nothing has moved when it returns; contacts can be read and forces set.
  void integrate1();
  /// Second half: takes forces in, solves the contacts, moves the objects.
  void integrate2();

  /// Forgets what the world remembers of its steps: the direction of the next sweep, the impulses
  /// of a warm start, the contacts, the order of geoms in the collision space (moved static ones
  /// included); world time and step count are 0 again. Between steps only.
  ///
  /// After it, a run that begins from a state set by setters repeats another one from the same
  /// state to the last bit (docs/reproducibility.md). Objects, parameters, state, pending forces
  /// and targets stay.
  void resetHistory();

  ///@{
  /// Saves this moment, between steps, into the memory of `state`: a second time allocates nothing.
  /// Nothing in the world changes.
  ///
  /// Fatal, and false and an empty state if the callback comes back: between `integrate1` and
  /// `integrate2`, and with `BroadPhase::QUADTREE`, whose order nobody can restore
  /// ("World::saveState: ...").
  bool saveState(State& state) const;
  State saveState() const {
    State state;
    saveState(state);
    return state;
  }
  ///@}
  /// Goes back to a saved moment, between steps. The world then continues to the last bit as the
  /// one that was saved, if it was built by the same calls (objects and wires of the same kinds and
  /// sizes, in the same order) and has the same parameters, materials, shapes and gains: those are
  /// no part of a state (docs/state-format.md). Contacts and other readings are empty until the
  /// next step, but for velocities of bodies, forces in joints, and wires. Allocates nothing once
  /// it is warm.
  ///
  /// Fatal, and false and nothing changed if the callback comes back: a state of another structure
  /// ("World::restoreState: the state has 3 objects, this world has 2", ...), an empty one, and
  /// where `saveState` is.
  bool restoreState(const State& state);
  /// `State::getHash` of the present moment; 0 where `saveState` is fatal.
  std::uint64_t getStateHash() const;
  /// A world of its own with the same objects, wires, parameters and state, which continues to the
  /// last bit as this one does. Reads no files: shapes are made anew, meshes and height maps are
  /// copied. Objects and wires have the same places in their lists, and the same names and
  /// `Object::getIdInWorld`. Null, after a fatal message, where `saveState` is fatal, and for an
  /// object of a class that has no `Object::copy`.
  std::unique_ptr<World> clone() const;
  /// Whether `integrate1` has run and `integrate2` has not.
  bool isBetweenHalves() const { return betweenHalves_; }

  /// Writes the present state as a world file, and beside it the robots that were made from URDF
  /// text. A snapshot: materials, wires, appearances and some more are not in it, and worlds with
  /// meshes or height maps cannot be read back (docs/world-file.md). A file that cannot be written
  /// is a warning. Fatal, and no file: a cone ("Cone collision shape is not supported"), a robot
  /// made from a tree, a path that `Path` refuses.
  /// @param dir put in front of `fileName` as it stands: has to end with a slash
  void exportToXml(const std::string& dir, const std::string& fileName) const;

  // ---- the books ----

  /// Keeps books of energy and momentum in each step from now on; off at first. The motion is the
  /// same to the bit.
  void setLedger(bool on);
  /// The books of the last step, rewritten by the next one; zeros before the first one and while
  /// `setLedger` is off. What a caller changes between steps shows as the difference between what
  /// one step ends with and the next begins with.
  const Ledger& getLedger() const;

  /// Looks after each step whether something has gone wrong, until it has: then one warning tells
  /// what, where, and what may be behind it, and `getWatchReport` keeps it. Called again it forgets
  /// that and looks on. Switches the ledger on if `limits.energyGain` is finite.
  void setWatch(const WatchLimits& limits = {});
  /// No watch any more, and no report. The ledger stays as it is.
  void clearWatch();
  /// What the watch has found; null while it has not.
  const WatchReport* getWatchReport() const;

  // ---- contacts, for people ----

  /// The contacts of the last step: who touches whom, forces, slip, what begins and ends. Made when
  /// first asked for after a step, into memory that the world keeps: good until the next step,
  /// `restoreState`, or removal of an object. `Touch::begins` and `ContactReport::getEnded` compare
  /// with the report that was asked for before; ask after each step to have them by step. Between
  /// the halves of a step it is the one that was made last.
  const ContactReport& getContactReport() const;
  /// Follows the contacts of every body in each step from now on; off at first.
  void setContactHistory(bool on);
  /// Begins an interval, as of a control step of several steps: sums and largest values of the
  /// history are 0 again, its times go on.
  void startContactHistory();
  /// What contacts did to a body since `startContactHistory`; nothing while `setContactHistory` is
  /// off. Adding and removing objects begins it anew for all.
  const BodyContactHistory& getContactHistory(const Object& object, size_t body = 0) const;

  // ---- queries ----

  /// The first object of that name, or null.
  Object* getObject(const std::string& name);
  ///@{
  /// All objects by world index. The pointers stay the world's.
  std::vector<Object*>& getObjList() { return objectList_; }
  const std::vector<Object*>& getObjList() const { return objectList_; }
  ///@}
  ///@{
  /// Casts a ray. At most 200 hits, unsorted, valid until the next query. A direction that is zero
  /// or not finite, a start beyond 1e8 m or a negative length hits nothing.
  /// @param direction need not be of unit length; @param length (m), may be infinite
  /// @param reserved not looked at
  /// @param mask groups that the ray sees; the ray itself is of group 1
  const RayHitList& rayTest(const Mat<3, 1>& start, const Mat<3, 1>& direction, double length,
                            bool reserved = false, unsigned long mask = kAllMask);
  template <typename Start, typename Direction, typename = IfVector3<Start>,
            typename = IfVector3<Direction>>
  const RayHitList& rayTest(const Eigen::MatrixBase<Start>& start,
                            const Eigen::MatrixBase<Direction>& direction, double length,
                            bool reserved = false, unsigned long mask = kAllMask) {
    Mat<3, 1> from{}, along{};
    const bool ok =
        readArgument(start, "rayTest", from) && readArgument(direction, "rayTest", along);
    return rayTest(from, ok ? along : Mat<3, 1>{}, length, reserved, mask);
  }
  ///@}
  /// Simulated time since construction, the world file's start or `resetHistory` (s).
  double getWorldTime() const { return worldTime_; }
  /// Steps since construction or `resetHistory`.
  size_t getStepCount() const { return stepCount_; }
  /// Grows with every add and remove, so that an observer sees that the content changed.
  size_t getObjectChangeCount() const { return objectChangeCount_; }
  /// Problems of the last step, with impulses, until the next `integrate1`. Their coupling
  /// (`otherBlocks_`, `otherProblems_`, `appliedDelassus_`) is formed here, by the first call after
  /// a step: who comes to a problem by `Contact::contactProblem_` calls this before it reads them.
  const contact::ContactProblemList& getContactProblems() const;
  /// The material table in force.
  MaterialManager& getMaterialManager() { return materialManager_; }
  /// The solver, with the sweeps and residuals of the last step.
  contact::BisectionContactSolver& getContactSolver() { return solver_; }
  /// Normalised path of the world file; empty without one.
  const std::string& getConfigFile() const { return configFile_; }
  /// All stiff wires, in the order in which they were added.
  const std::vector<std::unique_ptr<StiffLengthConstraint>>& getStiffWires() const {
    return stiffWire_;
  }
  /// All compliant wires, in the order in which they were added.
  const std::vector<std::unique_ptr<CompliantLengthConstraint>>& getCompliantWires() const {
    return compliantWire_;
  }

  /// Fills the problems of one object's contacts: own block, free velocity, coupling. `integrate2`
  /// does so for every dynamic object, but for the coupling. Null is fatal:
  /// "World::contactProblemUpdate: Got a nullptr for the object".
  void contactProblemUpdate(Object* object);

 private:
  void init();
  template <typename T, typename... Args>
  T* add(Args&&... args);
  template <typename T, typename... Args>
  T* addWithGeom(const std::string& material, unsigned long group, unsigned long mask,
                 Args&&... args);
  ArticulatedSystem* addGeomsOf(ArticulatedSystem* system, unsigned long group, unsigned long mask);
  void addCollisionObject(dGeomID geom, unsigned long localIdx, const std::string& material,
                          unsigned long group, unsigned long mask);
  void describeGeom(dGeomID geom, unsigned long localIdx, const std::string& material,
                    unsigned long group, unsigned long mask);
  void moveLastObjectTo(size_t index);

  void copyParameters(const World& other);
  bool copyObjects(const World& other);
  void copyWires(const World& other);
  bool canSaveState(const char* operation) const;
  bool visitStructure(StateArchive& archive) const;
  void visitState(StateArchive& archive);

  void updateWires();
  void warnOfImmovable();
  void storeImpulses();

  std::vector<Object*> objectList_;  ///< owned; `Object::getIndexInWorld` is the place here
  std::vector<std::unique_ptr<StiffLengthConstraint>> stiffWire_;
  std::vector<std::unique_ptr<CompliantLengthConstraint>> compliantWire_;
  MaterialManager materialManager_;
  std::unique_ptr<CollisionSpace> collision_;  ///< geoms, raw points, rays
  std::unique_ptr<StepContacts> contacts_;     ///< records and problems of the step
  // No state, since no step reads them; null while nobody has asked.
  std::unique_ptr<StepLedger> ledger_;                    ///< see `setLedger`
  std::unique_ptr<StepWatch> watch_;                      ///< see `setWatch`
  std::unique_ptr<ContactHistory> contactHistory_;        ///< see `setContactHistory`
  mutable std::unique_ptr<ContactReport> contactReport_;  ///< see `getContactReport`
  mutable bool isContactReportOld_ = true;                ///< whether a step was made since
  contact::BisectionContactSolver solver_;
  std::unique_ptr<ImpulseMemory> impulseMemory_;  ///< made by `setWarmStart`
  bool warmStart_ = false;
  double solvedTimeStep_ = 0.0;  ///< of the last solve, 0 once its impulses are stored (s): state
  bool betweenHalves_ = false;   ///< see `isBetweenHalves`
  mutable State hashedState_;    ///< memory of `getStateHash`

  Mat<3, 1> gravity_{};
  double timeStep_ = 0.005;
  double worldTime_ = 0.0;  ///< (s) state
  size_t stepCount_ = 0;    ///< state
  size_t objectChangeCount_ = 0;
  std::string configFile_;
  bool hasWarnedOfImmovable_ = false;
  bool toldOfTimeStep_ = false, toldOfForce_ = false;  ///< whether bad values were warned of

  // ---- kept up to date, read by nothing ----
  /// One object class of a world file. Reserved: the first class of a file ends its loading.
  struct XmlObjectClass {
    ObjectType objectType = UNRECOGNIZED;
    std::string name, material, fileName, resDir;
    double mass = 0.0;               ///< (kg)
    Mat<3, 3> inertia{};             ///< (kg m^2, body axes)
    std::vector<double> dimensions;  ///< (m)
    Mat<3, 1> com{};                 ///< (m, body frame)
    std::vector<Compound::CompoundObjectChild> children;
  };
  std::unordered_map<std::string, XmlObjectClass> xmlObjectClassMap_;  ///< by element name; empty
  std::vector<size_t> objectPairFirst_, objectPairSecond_;
};

}  // namespace zelvik
