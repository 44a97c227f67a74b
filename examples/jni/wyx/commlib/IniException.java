package wyx.commlib;

import java.io.IOException;

/** A call of the library failed. The message is the text of its status and the number. */
public final class IniException extends IOException {
    private static final long serialVersionUID = 1;

    /** The library's status, one of xelpIniErrCode. */
    public final int status;

    IniException(int status, String text) {
        super(text + " (" + status + ")");
        this.status = status;
    }
}
