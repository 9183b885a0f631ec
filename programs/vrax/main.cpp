// vrax: drives the instrument from the command line.

#include "Calibration.h"
#include "Check.h"
#include "Doctor.h"
#include "Firmware.h"
#include "Info.h"
#include "Play.h"
#include "Plot.h"
#include "Program.h"
#include "Render.h"
#include "Replay.h"
#include "Waveforms.h"

int main(int argc, char** argv)
{
    vrax::Program program(argc, argv);
    CLI::App app("Drives a VRAX patient-signal simulator.", "vrax");
    program.AddOptions(app);
    vrax::AddInfoCommand(app, program);
    vrax::AddDoctorCommand(app, program);
    vrax::AddCalibrationCommand(app, program);
    vrax::AddFirmwareCommand(app, program);
    vrax::AddCheckCommand(app, program);
    vrax::AddWaveformsCommand(app, program);
    vrax::AddPlayCommand(app, program);
    vrax::AddRenderCommand(app, program);
    vrax::AddPlotCommand(app, program);
    vrax::AddReplayCommand(app, program);
    return program.Run(app);
}
