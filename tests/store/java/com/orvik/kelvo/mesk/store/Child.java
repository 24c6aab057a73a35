package com.orvik.kelvo.mesk.store;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** Another virtual machine that runs a main class of the tests and tells what it did, line by line. */
final class Child implements AutoCloseable {
    private final Process process;
    private final BufferedReader lines;

    Child(Class<?> main, String... arguments) throws IOException {
        this(List.of(), List.of(), main, arguments);
    }

    Child(List<String> before, List<String> options, Class<?> main, String... arguments) throws IOException {
        this(before, options, System.getProperty("java.class.path"), main, arguments);
    }

    /** With a command before the virtual machine's own, options of the virtual machine, and a class path. */
    Child(List<String> before, List<String> options, String classPath, Class<?> main, String... arguments)
        throws IOException {
        List<String> command = new ArrayList<>(before);
        command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
        command.add("-XX:TieredStopAtLevel=1");
        command.addAll(options);
        command.addAll(List.of("-cp", classPath, main.getName()));
        command.addAll(List.of(arguments));
        process = new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT).start();
        lines = new BufferedReader(new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
    }

    /** The next line; waits for it. Null when the child has ended. */
    String line() throws IOException {
        return lines.readLine();
    }

    /** Kills the child with SIGKILL and answers the lines that it had still written. */
    List<String> kill() throws IOException, InterruptedException {
        // By its handle: the process object would close the stream with what is still to be read.
        process.toHandle().destroyForcibly();
        process.waitFor();
        List<String> rest = new ArrayList<>();
        for (String line = lines.readLine(); line != null; line = lines.readLine()) {
            rest.add(line);
        }
        return rest;
    }

    /** Lets the child end by itself and answers its lines; fails if it failed. */
    List<String> finish() throws IOException, InterruptedException {
        List<String> rest = new ArrayList<>();
        for (String line = lines.readLine(); line != null; line = lines.readLine()) {
            rest.add(line);
        }
        if (process.waitFor() != 0) {
            throw new AssertionError("the child failed with " + process.exitValue());
        }
        return rest;
    }

    /** Lets the child go on that waits for its standard input to end. */
    void release() throws IOException {
        process.getOutputStream().close();
    }

    @Override
    public void close() {
        process.destroyForcibly();
    }
}
