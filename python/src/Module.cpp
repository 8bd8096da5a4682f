// dataprocess._dataprocess: the engine under the Python package. The
// package's __init__.py turns keyword arguments into the tool's options
// and wraps these classes in the documented Python API.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <DataProcess/DataProcess.h>

#include "AudioReader.h"
#include "ToolErrors.h"
#include "ToolOptions.h"
#include "VideoReader.h"

namespace py = pybind11;

PYBIND11_MODULE(_dataprocess, m)
{
    m.doc() = "The DataProcess library's engine; use the dataprocess package.";
    static py::exception<dptool::ProcessingError> error(m, "DataProcessError", PyExc_RuntimeError);
    py::register_exception_translator([](std::exception_ptr p) {
        try {
            if (p)
                std::rethrow_exception(p);
        } catch (const dptool::UsageError& e) {
            PyErr_SetString(PyExc_ValueError, e.what());
        } catch (const dptool::ProcessingError& e) {
            error(e.what());
        }
    });

    py::class_<dppy::VideoReader>(m, "_VideoReader")
        .def(py::init<py::object, const std::vector<std::string>&, py::object, py::object, const std::string&>())
        .def("read", &dppy::VideoReader::Read, py::arg("copy"))
        .def("frame_at", &dppy::VideoReader::FrameAt, py::arg("seconds"), py::arg("copy"))
        .def("frames_at", &dppy::VideoReader::FramesAt)
        .def("capture", &dppy::VideoReader::Capture)
        .def("info", &dppy::VideoReader::Info)
        .def("close", &dppy::VideoReader::Close);

    py::class_<dppy::AudioReader>(m, "_AudioReader")
        .def(py::init<const std::string&, const std::vector<std::string>&>())
        .def("read", &dppy::AudioReader::Read)
        .def("read_all", &dppy::AudioReader::ReadAll)
        .def("info", &dppy::AudioReader::Info)
        .def("close", &dppy::AudioReader::Close);

    m.def(
        "_run_tool",
        [](const std::vector<std::string>& args) {
            py::gil_scoped_release nogil;
            dppy::RunToolCommand(args);
        },
        "Runs one command of the dataprocess tool in this process.");
    m.def("_simd_level", [] { return std::string(DPGetSimdLevel()); });
    m.attr("__version__") = DP_VERSION;
}
