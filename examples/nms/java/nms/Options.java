package nms;

import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/**
 * The options of the command line.
 *
 * @param page entries requested at a time
 * @param ping seconds between two pings of the session
 * @param silence seconds without any event after which the NMS starts over; 0: never
 */
record Options(String factory, String user, Path passwordFile, int page, int ping, int silence) {
    static Options of(String[] arguments) {
        int page = 500;
        int ping = 30;
        int silence = 0;
        List<String> names = new ArrayList<>();
        for (int i = 0; i < arguments.length; ++i) {
            boolean isLast = i + 1 == arguments.length;
            if (arguments[i].equals("--page") && !isLast)
                page = Integer.parseInt(arguments[++i]);
            else if (arguments[i].equals("--ping") && !isLast)
                ping = Integer.parseInt(arguments[++i]);
            else if (arguments[i].equals("--silence") && !isLast)
                silence = Integer.parseInt(arguments[++i]);
            else
                names.add(arguments[i]);
        }
        if (names.size() != 3)
            throw new IllegalArgumentException("arguments: [OPTION...] FACTORY USER PASSWORD_FILE");
        // JacORB passes the name in a URL on as it is, so its escapes are resolved here
        String factory = URLDecoder.decode(names.get(0).replace("+", "%2B"), StandardCharsets.UTF_8);
        return new Options(factory, names.get(1), Path.of(names.get(2)), page, ping, silence);
    }
}
