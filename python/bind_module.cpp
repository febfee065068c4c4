// SPDX-License-Identifier: MIT
// The extension module narvoassem._narvoassem: the host library for Python. What is pure Python of the package lies
// beside it in narvoassem/.
#include "python/bind.h"
#include "python/unlocked.h"
#include "python/values.h"

PYBIND11_MODULE(_narvoassem, module)
{
    using namespace narvo::python;
    module.doc() = "Compiled part of the package narvoassem, which has all of it under its own name.";
    module.attr("__version__") = NARVO_PACKAGE_VERSION;
    WaitForCallsAtExit();
    module.def("printable", &ToPrintable, pybind11::arg("text"),
               "The text as one line that a terminal shows as it stands: control characters, line ends among them, and "
               "bytes that are no UTF-8 are written out.");
    BindImages(module);
    BindRecipe(module);
    BindResult(module);
    BindInspection(module);
    BindPitch(module);
    BindGolden(module);
    BindLearn(module);
    BindCapability(module);
    BindExplain(module);
    BindRegions(module);
    BindStore(module);
    BindStream(module);
    BindLot(module);
    BindCell(module);
    BindExchange(module);
    BindEvaluate(module);
}
