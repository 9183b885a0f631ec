// Where a lower room reaches up, it calls a hook; all of them are installed here when the library
// is loaded.
#pragma once

void WireRooms();
