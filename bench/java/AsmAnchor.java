// The speed anchor of scripts/bench: ASM's ClassReader.accept into a ClassNode over the same bytes
// that kov_bench decodes. Prints one line per file: name, size in bytes, MB/s (10^6 bytes per second).
import java.nio.file.Files;
import java.nio.file.Path;

import org.objectweb.asm.ClassReader;
import org.objectweb.asm.tree.ClassNode;

public final class AsmAnchor {
    private static long sink;

    private static void readOnce(byte[] bytes) {
        ClassNode node = new ClassNode();
        new ClassReader(bytes).accept(node, 0);
        sink += node.methods.size();
    }

    // Runs batches of reads for about the given time and returns the best batch's MB/s.
    private static double measure(byte[] bytes, long nanos) {
        double best = 0;
        long end = System.nanoTime() + nanos;
        int batch = Math.max(1, 2_000_000 / bytes.length);
        while (System.nanoTime() < end) {
            long start = System.nanoTime();
            for (int i = 0; i < batch; i++)
                readOnce(bytes);
            double seconds = (System.nanoTime() - start) / 1e9;
            best = Math.max(best, (double) bytes.length * batch / seconds / 1e6);
        }
        return best;
    }

    public static void main(String[] args) throws Exception {
        for (String arg : args) {
            Path file = Path.of(arg);
            byte[] bytes = Files.readAllBytes(file);
            measure(bytes, 2_000_000_000L); // warms the JIT
            double mbPerSecond = measure(bytes, 2_000_000_000L);
            System.out.printf("%s %d %.1f%n", file.getFileName(), bytes.length, mbPerSecond);
        }
        if (sink == 42)
            System.out.println();
    }
}
