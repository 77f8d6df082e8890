package nms;

/** Why the NMS has to start over. */
final class OutOfStep extends Exception {
    private static final long serialVersionUID = 1;

    OutOfStep(String reason) {
        super(reason);
    }
}
