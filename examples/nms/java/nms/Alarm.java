package nms;

import globaldefs.NameAndStringValue_T;
import globaldefs.NamingAttributes_THelper;
import java.util.ArrayList;
import java.util.List;
import notifications.AcknowledgeIndication_T;
import notifications.AcknowledgeIndication_THelper;
import notifications.PerceivedSeverity_T;
import notifications.PerceivedSeverity_THelper;
import org.omg.CORBA.Any;
import org.omg.CosNotification.Property;
import org.omg.CosNotification.StructuredEvent;

/** The fields of an alarm that this NMS uses. */
record Alarm(long id, Identity identity, PerceivedSeverity_T perceivedSeverity, boolean isClearable,
        AcknowledgeIndication_T acknowledgeIndication) {

    /** What makes two events states of the same alarm. Each part of the name is its name and its value. */
    record Identity(List<List<String>> objectName, short layerRate, String probableCause,
            String probableCauseQualifier) {}

    private static final String[] SEVERITIES =
        {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR", "PS_MINOR", "PS_WARNING", "PS_CLEARED"};
    private static final String[] ACKNOWLEDGEMENTS = {"AI_EVENT_ACKNOWLEDGED", "AI_EVENT_UNACKNOWLEDGED", "AI_NA"};

    boolean isClear() {
        return perceivedSeverity == PerceivedSeverity_T.PS_CLEARED;
    }

    // [fields]
    /** Fields that this NMS does not know are passed over. */
    static Alarm of(StructuredEvent event) {
        long id = 0;
        List<List<String>> objectName = new ArrayList<>();
        short layerRate = 1;
        String cause = "";
        String qualifier = "";
        PerceivedSeverity_T severity = PerceivedSeverity_T.PS_INDETERMINATE;
        boolean isClearable = true;
        AcknowledgeIndication_T acknowledgement = AcknowledgeIndication_T.AI_NA;
        for (Property field : event.filterable_data) {
            Any value = field.value;
            switch (field.name) {
                case "notificationId" -> id = Long.parseLong(value.extract_string());
                case "objectName" -> {
                    for (NameAndStringValue_T part : NamingAttributes_THelper.extract(value))
                        objectName.add(List.of(part.name, part.value));
                }
                case "layerRate" -> layerRate = value.extract_short();
                case "probableCause" -> cause = value.extract_string();
                case "probableCauseQualifier" -> qualifier = value.extract_string();
                case "perceivedSeverity" -> severity = PerceivedSeverity_THelper.extract(value);
                case "isClearable" -> isClearable = value.extract_boolean();
                case "acknowledgeIndication" -> acknowledgement = AcknowledgeIndication_THelper.extract(value);
                default -> { }
            }
        }
        return new Alarm(id, new Identity(objectName, layerRate, cause, qualifier), severity, isClearable,
            acknowledgement);
    }
    // [end]

    String json() {
        List<String> name = identity.objectName().stream()
            .map(part -> "[" + quoted(part.get(0)) + ", " + quoted(part.get(1)) + "]").toList();
        return "{\"id\": " + id + ", \"objectName\": " + name + ", \"layerRate\": " + identity.layerRate()
            + ", \"probableCause\": " + quoted(identity.probableCause())
            + ", \"probableCauseQualifier\": " + quoted(identity.probableCauseQualifier())
            + ", \"perceivedSeverity\": " + quoted(SEVERITIES[perceivedSeverity.value()])
            + ", \"isClearable\": " + isClearable
            + ", \"acknowledgeIndication\": " + quoted(ACKNOWLEDGEMENTS[acknowledgeIndication.value()]) + "}";
    }

    private static String quoted(String text) {
        StringBuilder quoted = new StringBuilder("\"");
        for (char each : text.toCharArray()) {
            if (each == '"' || each == '\\')
                quoted.append('\\').append(each);
            else if (each < ' ')
                quoted.append(String.format("\\u%04x", (int) each));
            else
                quoted.append(each);
        }
        return quoted.append('"').toString();
    }
}
