# An NMS on an ORB by another maker. It carries out the given steps and prints the result of each as one line.
#
#   tclsh nms.tcl TYPES PORT STEP...
#
# TYPES is the Tcl file with the IDL's types, PORT is the port of the naming service. The steps and their lines are:
#   version                    "version <text>"
#   login USER PASSWORD        "login ok", or "login refused <exception type> <reason>"
#   managers                   "managers <names>"
#   ems                        "ems <EMS name> <native name>"
#   lacking                    "lacking <exception type>"    an operation that the EMS does not have
#   links                      "links <count> nil|iterator"  the first five of the EMS's topological links
#   consume TYPE FILTER        "consume ok", or "consume refused <exception>"    structured events of this type that the
#                              filter accepts are pushed to the NMS from here on; an empty text means no filter
#   events N                   "event <type> <field>=<value> ..."    one line for each of the first N events
#   ping                       "ping ok"
#   pinged N                   "pinged"                      when the EMS has called ping N times
#   ended                      "ended"                       when the EMS has called endSession
#   end                        "end ok"
# If a step fails, the NMS prints "failed <step> <what>" and ends with exit code 1.

package require combat

set steps [lassign $argv types port]
corba::init -ORBHostName 127.0.0.1
source $types

itcl::class Nms {
    inherit PortableServer::ServantBase
    public variable associatedSession 0
    public method _Interface {} { return "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0" }
    public method ping {} { incr ::pings }
    public method endSession {} { set ::ended 1 }
    public method eventLossOccurred {startTime notificationId} {}
    public method eventLossCleared {endTime} {}
    public method alarmLossOccurred {startTime notificationId} {}
}

itcl::class Consumer {
    inherit PortableServer::ServantBase
    public method _Interface {} { return "IDL:omg.org/CosNotifyComm/StructuredPushConsumer:1.0" }
    public method push_structured_event {event} { lappend ::events $event }
    public method disconnect_structured_push_consumer {} {}
    public method offer_change {added removed} {}
}

set events {}
set pings 0
set ended 0

# Give a type to a reference that does not carry one: from a corbaloc, or typed with a general interface.
proc narrowed {reference id} {
    if {![$reference _is_a $id]} { error "the object is no $id" }
    [::Combat::CORBA::ORB::GetObjFromRef $reference] configure -type_id $id
    return $reference
}

proc say {args} {
    puts [join $args " "]
    flush stdout
}

# Return "<exception type> <reason>" for a ProcessingFailureException, and any other failure unchanged.
proc failure {result} {
    lassign $result id members
    if {$id ne "IDL:mtnm.tmforum.org/globaldefs/ProcessingFailureException:1.0"} { return $result }
    return "[dict get $members exceptionType] [dict get $members errorReason]"
}

proc until {condition} {
    while {![uplevel #0 [list expr $condition]]} {
        after 20 {set ::turn 1}
        vwait ::turn
    }
}

proc findFactory {port} {
    set naming [narrowed [corba::string_to_object "corbaloc::127.0.0.1:$port/NameService"] \
        "IDL:omg.org/CosNaming/NamingContext:1.0"]
    set path {}
    foreach {id kind} {TMF_MTNM Class Kelp Vendor Kelp/EMS EmsInstance 3_5 Version Kelp/EMS EmsSessionFactory_I} {
        lappend path [list id $id kind $kind]
    }
    # the EMS registers itself in its monitor's first round
    while {[catch {$naming resolve $path} factory]} {
        if {[lindex $factory 0] ne "IDL:omg.org/CosNaming/NamingContext/NotFound:1.0"} { error $factory }
        after 100
    }
    return [narrowed $factory "IDL:mtnm.tmforum.org/emsSessionFactory/EmsSessionFactory_I:1.0"]
}

proc activate {servant} {
    set poa [corba::resolve_initial_references RootPOA]
    set reference [$poa id_to_reference [$poa activate_object $servant]]
    [$poa the_POAManager] activate
    return $reference
}

proc manager {} {
    $::session getManager EMS general
    return [narrowed $general "IDL:mtnm.tmforum.org/emsMgr/EMSMgr_I:1.0"]
}

proc consume {type filter} {
    $::session getEventChannel channel
    set admin [$channel default_consumer_admin]
    set proxy [narrowed [$admin obtain_notification_push_supplier STRUCTURED_EVENT id] \
        "IDL:omg.org/CosNotifyChannelAdmin/StructuredProxyPushSupplier:1.0"]
    $proxy subscription_change [list [list domain_name tmf_mtnm type_name $type]] {}
    if {$filter ne ""} {
        set made [[$channel default_filter_factory] create_filter EXTENDED_TCL]
        $made add_constraints [list [list event_types {} constraint_expr $filter]]
        $proxy add_filter $made
    }
    $proxy connect_structured_push_consumer [activate [Consumer #auto]]
}

# An Any is a type and a value.
proc described {event} {
    set line [dict get $event header fixed_header event_type type_name]
    foreach property [dict get $event filterable_data] {
        append line " [dict get $property name]=[lindex [dict get $property value] 1]"
    }
    return $line
}

proc take {step stepsLeft} {
    upvar $stepsLeft steps
    switch -- $step {
        version { say version [$::factory getVersion] }
        login {
            set steps [lassign $steps user password]
            if {[catch {$::factory getEmsSession $user $password $::nms ::session} result]} {
                say login refused [failure $result]
            } else {
                say login ok
            }
        }
        managers {
            $::session getSupportedManagers names
            say managers $names
        }
        ems {
            [manager] getEMS ems
            say ems [dict get [lindex [dict get $ems name] 0] value] [dict get $ems nativeEMSName]
        }
        lacking {
            if {![catch {[manager] deleteTopologicalLink {}} result]} {
                error "the operation did something"
            }
            say lacking [lindex [failure $result] 0]
        }
        links {
            [manager] getAllTopLevelTopologicalLinks 5 links iterator
            say links [llength $links] [expr {$iterator == 0 ? "nil" : "iterator"}]
        }
        consume {
            set steps [lassign $steps type filter]
            if {[catch {consume $type $filter} result]} {
                say consume refused [lindex $result 0]
            } else {
                say consume ok
            }
        }
        events {
            set steps [lassign $steps count]
            until "\[llength \$::events\] >= $count"
            foreach event [lrange $::events 0 $count-1] { say event [described $event] }
        }
        ping {
            $::session ping
            say ping ok
        }
        pinged {
            set steps [lassign $steps count]
            until "\$::pings >= $count"
            say pinged
        }
        ended {
            until {$::ended}
            say ended
        }
        end {
            $::session endSession
            say end ok
        }
        default { error "no such step" }
    }
}

set step start
if {[catch {
    set factory [findFactory $port]
    set nms [activate [Nms #auto]]
    while {[llength $steps] > 0} {
        set steps [lassign $steps step]
        take $step steps
    }
} result]} {
    say failed $step $result
    exit 1
}
exit 0
