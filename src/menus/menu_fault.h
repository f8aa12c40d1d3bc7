// Failures that a healthy machine never produces, made on request so that
// a host's developer can see how its menus' failures are shown (DLLServices
// TSL_SERVICE_MENU_FAULT). One request is process-wide and lasts for one
// failure: the first menu call that reaches the step of the requested
// message fails there with it, as if the system had refused.
#pragma once

namespace tsl {

// Arms the step of message `number` (505-507, 513, 516-518, 523-525), or
// disarms with 0; false for any other number (nothing changes then).
bool menu_fault_request(unsigned number);

// True once for the armed step's message, which is disarmed by it.
bool menu_fault(unsigned number);

} // namespace tsl
