#include "packaging/doctor/doctor.h"
namespace packaging {
void examine(const DoctorOptions&, Findings&) {}
} // namespace packaging
