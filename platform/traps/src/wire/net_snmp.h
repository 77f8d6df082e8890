#pragma once

// The headers of net-snmp need this order, and some of them are not fit for our warnings.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wconversion"
#include <net-snmp/library/large_fd_set.h>
#include <net-snmp/library/lcd_time.h>
#include <net-snmp/library/snmp_transport.h>
#include <net-snmp/library/snmpusm.h>
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#pragma GCC diagnostic pop
