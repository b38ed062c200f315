/* A lamp over GATT: what gatt_server serves, and gatt_client uses. The simulated world has one. */
#pragma once

static const char lampService[] = "5e1ac0de-0001-4000-8000-000000000000";
static const char lampSwitch[] = "5e1ac0de-0002-4000-8000-000000000000"; /* "on" or "off" */
