// SPDX-FileCopyrightText: 2026 the zelvik authors
// SPDX-License-Identifier: BSD-3-Clause
#include <zelvik/view/Recorder.hpp>

#include "Bindings.hpp"
#include "Records.hpp"

namespace zelvik::python {

namespace {

/// A recorder; `owner` is the World.
struct RecorderHandle : Owned {
  std::shared_ptr<WorldState> state;
  std::unique_ptr<view::Recorder> recorder;
};
using Self = const RecorderHandle&;

using Pixels = nb::ndarray<nb::numpy, std::uint8_t, nb::shape<-1, -1, 3>>;

void readCamera(nb::handle record, view::CameraOptions& camera) {
  camera.azimuth = field<double>(record, "azimuth");
  camera.elevation = field<double>(record, "elevation");
  camera.distance = field<double>(record, "distance");
  if (!record.attr("target").is_none())
    camera.targetW = readVector<3>({record.attr("target")}, "target");
  camera.follow = field<std::string>(record, "follow");
  camera.fieldOfView = field<double>(record, "field_of_view");
}

view::PictureOptions pictureOf(int width, int height, std::optional<size_t> frame,
                               const std::optional<CameraRecord>& camera, bool dark,
                               bool collisionShapes, bool wires, bool contacts, bool forces,
                               bool grid) {
  view::PictureOptions options;
  options.width = width;
  options.height = height;
  if (frame) options.frame = *frame;
  if (camera) readCamera(camera->value, options.camera);
  options.dark = dark;
  options.collisionShapes = collisionShapes;
  options.wires = wires;
  options.contacts = contacts;
  options.forces = forces;
  options.grid = grid;
  return options;
}

Pixels pixelsOf(view::Image&& image) {
  auto* kept = new view::Image(std::move(image));
  const nb::capsule owner(kept, [](void* p) noexcept { delete static_cast<view::Image*>(p); });
  const auto width = static_cast<size_t>(kept->width), height = static_cast<size_t>(kept->height);
  return Pixels(kept->rgb.data(), {height, width, 3}, owner);
}

template <typename Work>
auto withoutLock(Work work) {
  auto result = [&] {
    const nb::gil_scoped_release release;
    return work();
  }();
  flushMessages();
  return result;
}

void bindPictures(nb::class_<RecorderHandle>& recorder) {
#define ZELVIK_PICTURE_ARGUMENTS                                                          \
  nb::kw_only(), "width"_a = 640, "height"_a = 400, "frame"_a = nb::none(),               \
                 "camera"_a = nb::none(), "dark"_a = false, "collision_shapes"_a = false, \
                 "wires"_a = true, "contacts"_a = false, "forces"_a = false, "grid"_a = true
#define ZELVIK_PICTURE_DOC                                                                      \
  "width, height : int\n    (pixels), 16 to 8192.\n"                                            \
  "frame : int, optional\n    From 0; by default the last.\n"                                   \
  "camera : Camera, optional\n    By default everything is seen.\n"                             \
  "dark : bool\n    Background.\n"                                                              \
  "collision_shapes : bool\n    Instead of visual ones, where a body has both.\n"               \
  "wires, contacts, forces, grid : bool\n    Whether they are drawn; impulses of contacts are " \
  "arrows, green where\n    the contact sticks, orange where it slides.\n\n"                    \
  "Raises\n------\nFatalError\n    Without a frame, and for sizes and cameras out of range."
  recorder
      .def(
          "render",
          [](Self self, int width, int height, std::optional<size_t> frame,
             const std::optional<CameraRecord>& camera, bool dark, bool shapes, bool wires,
             bool contacts, bool forces, bool grid) {
            const view::PictureOptions options = pictureOf(width, height, frame, camera, dark,
                                                           shapes, wires, contacts, forces, grid);
            return pixelsOf(withoutLock([&] { return self.recorder->render(options); }));
          },
          ZELVIK_PICTURE_ARGUMENTS,
          nb::sig("def render(self, *, width: int = 640, height: int = 400, frame: int | None = "
                  "None, camera: zelvik._records.Camera | None = None, dark: bool = False, "
                  "collision_shapes: bool = False, wires: bool = True, contacts: bool = False, "
                  "forces: bool = False, grid: bool = True) -> numpy.typing.NDArray[numpy.uint8]"),
          "Draw a frame, without screen or graphics card.\n\n"
          "Parameters\n----------\n" ZELVIK_PICTURE_DOC
          "\n\nReturns\n-------\nndarray, shape (height, width, 3), uint8\n    Red, green, blue.")
      .def(
          "write_png",
          [](Self self, const PathArgument& file, int width, int height,
             std::optional<size_t> frame, const std::optional<CameraRecord>& camera, bool dark,
             bool shapes, bool wires, bool contacts, bool forces, bool grid) {
            const view::PictureOptions options = pictureOf(width, height, frame, camera, dark,
                                                           shapes, wires, contacts, forces, grid);
            withoutLock([&] { return self.recorder->writePng(file.text, options); });
          },
          "file"_a, ZELVIK_PICTURE_ARGUMENTS,
          "Draw a frame into a PNG file.\n\n"
          "Parameters\n----------\nfile : path\n    What is written.\n" ZELVIK_PICTURE_DOC);
}

}  // namespace

void bindRecorder(nb::module_& m) {
  nb::class_<RecorderHandle> recorder(
      m, "Recorder", nb::type_slots(collectorSlots<RecorderHandle>()),
      "Records a world, frame by frame, and writes what it has seen as a page or as pictures.\n\n"
      "Parameters\n----------\nworld : World\n    Only read, and only in `capture`.\n"
      "contacts, wires, forces : bool\n    Whether they are kept beside the poses.\n"
      "visual_shapes, collision_shapes : bool\n    Of robots.\n"
      "expected_frames : int\n    Room that is reserved.\n\n"
      "Examples\n--------\n"
      ">>> recorder = zelvik.Recorder(world)\n"
      ">>> for _ in range(600):\n...     world.integrate()\n...     recorder.capture()\n"
      ">>> recorder.write_html(\"replay.html\")");
  recorder
      .def(
          "__init__",
          [](RecorderHandle* self, const WorldSelf& world, bool contacts, bool wires, bool forces,
             bool visualShapes, bool collisionShapes, size_t expectedFrames) {
            constexpr size_t kMostFrames = 100'000'000;
            if (expectedFrames > kMostFrames)
              throwValueError("expected_frames: " + std::to_string(expectedFrames) +
                              " is more than a recording holds");
            view::RecorderOptions options{contacts,     wires,           forces,
                                          visualShapes, collisionShapes, expectedFrames};
            auto made = std::make_unique<view::Recorder>(world.p->get(), options);
            new (self) RecorderHandle{{nb::borrow(world.h)}, world.p->state, std::move(made)};
          },
          "world"_a, nb::kw_only(), "contacts"_a = true, "wires"_a = true, "forces"_a = true,
          "visual_shapes"_a = true, "collision_shapes"_a = true, "expected_frames"_a = 0)
      .def(
          "capture", [](Self self) { unlocked(self.state, [&] { self.recorder->capture(); }); },
          "Append a frame: poses as they are; contacts, wires and forces of the last step.")
      .def_prop_ro(
          "frame_count", [](Self self) { return self.recorder->getFrameCount(); },
          "Frames captured so far.")
      .def("__len__", [](Self self) { return self.recorder->getFrameCount(); })
      .def("__bool__", [](Self) { return true; })
      .def_prop_ro(
          "memory", [](Self self) { return self.recorder->getMemory(); },
          "Bytes that the frames take, without shapes.")
      .def(
          "write_html",
          [](Self self, const PathArgument& file, const std::string& title,
             const RecorderHandle* ghost) {
            const view::HtmlOptions options{title, ghost ? ghost->recorder.get() : nullptr};
            withoutLock([&] { return self.recorder->writeHtml(file.text, options); });
          },
          "file"_a, "title"_a = "zelvik replay", "ghost"_a = nb::none(),
          "Write the recording as one page that opens in any browser, without a network.\n\n"
          "Parameters\n----------\nfile : path\n    What is written.\ntitle : str\n    Of the "
          "page.\nghost : Recorder, optional\n    Another recording, shown translucent in the same "
          "place.\n\nRaises\n------\nFatalError\n    Without a frame, in a build without the page, "
          "and for a file that cannot be\n    written.")
      .def_static("has_html_viewer", &view::Recorder::hasHtmlViewer,
                  "Whether this build holds the page of `write_html`.")
      .def(
          "write_replay",
          [](Self self, const PathArgument& file, const std::string& title) {
            withoutLock([&] { return self.recorder->writeReplay(file.text, title); });
          },
          "file"_a, "title"_a = "zelvik replay", "Write the bare data of the page.")
      .def(
          "encode_replay",
          [](Self self, const std::string& title) {
            const auto bytes = withoutLock([&] { return self.recorder->encodeReplay(title); });
            return nb::bytes(bytes.data(), bytes.size());
          },
          "title"_a = "zelvik replay", "Get the bytes of `write_replay`.")
      .def(
          "_repr_html_",
          [](nb::handle_t<RecorderHandle> self) {
            return nb::module_::import_("zelvik._notebook").attr("recorder_html")(self);
          },
          nb::sig("def _repr_html_(self) -> str"))
      .def("__repr__", [](Self self) {
        return "<Recorder: " + std::to_string(self.recorder->getFrameCount()) + " frames>";
      });
  bindPictures(recorder);

  m.def(
      "write_png",
      [](const PathArgument& file, const nb::ndarray<const std::uint8_t, nb::shape<-1, -1, 3>,
                                                     nb::c_contig, nb::device::cpu>& pixels) {
        view::Image image;
        image.height = static_cast<int>(pixels.shape(0));
        image.width = static_cast<int>(pixels.shape(1));
        image.rgb.assign(pixels.data(), pixels.data() + pixels.size());
        withoutLock([&] { return view::writePng(file.text, image); });
      },
      "file"_a, "image"_a,
      nb::sig("def write_png(file: str | os.PathLike[str], image: "
              "numpy.typing.NDArray[numpy.uint8]) -> None"),
      "Write an image, shape (height, width, 3), uint8, as a PNG file.");
}

}  // namespace zelvik::python
