// Answers for Quartz, line by line, when a rule fires next. Run as a source file with Quartz on the class path.
//
// A line is "KIND|RULE|ZONE|REFERENCE|NOW|COUNT": KIND cron or calendar, times in seconds since 1970. The answer is the
// next run and the nanoseconds of the processor that COUNT answers took, or "-" when the rule has no next run. What a
// rule and a zone mean is worked out before the time is taken.

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.nio.charset.StandardCharsets;
import java.util.Date;
import java.util.TimeZone;
import java.util.function.Supplier;
import org.quartz.CronExpression;
import org.quartz.DateBuilder.IntervalUnit;
import org.quartz.impl.triggers.CalendarIntervalTriggerImpl;

final class QuartzRuns {
  private static final ThreadMXBean THREADS = ManagementFactory.getThreadMXBean();

  /** Keeps what was computed alive. */
  static volatile long sink;

  private QuartzRuns() {}

  public static void main(String[] arguments) throws Exception {
    System.out.println("ready");
    var in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.US_ASCII));
    for (String line = in.readLine(); line != null; line = in.readLine()) {
      String[] words = line.split("\\|");
      Date reference = new Date(Long.parseLong(words[3]) * 1000);
      Date now = new Date(Long.parseLong(words[4]) * 1000);
      TimeZone zone = TimeZone.getTimeZone(words[2]);
      System.out.println(timed(question(words[0], words[1], zone, reference, now), Integer.parseInt(words[5])));
    }
  }

  private static Supplier<Date> question(String kind, String rule, TimeZone zone, Date reference, Date now)
      throws Exception {
    if (kind.equals("cron")) {
      var expression = new CronExpression(rule);
      expression.setTimeZone(zone);
      return () -> expression.getNextValidTimeAfter(now);
    }
    String[] interval = rule.split(" ");
    var trigger = new CalendarIntervalTriggerImpl();
    trigger.setStartTime(reference);
    trigger.setRepeatIntervalUnit(IntervalUnit.valueOf(interval[0]));
    trigger.setRepeatInterval(Integer.parseInt(interval[1]));
    trigger.setTimeZone(zone);
    trigger.setPreserveHourOfDayAcrossDaylightSavings(true);
    return () -> trigger.getFireTimeAfter(now);
  }

  private static String timed(Supplier<Date> question, int count) {
    Date next = null;
    long sum = 0;
    long begin = THREADS.getCurrentThreadCpuTime();
    for (int i = 0; i < count; ++i) {
      next = question.get();
      if (next != null) sum += next.getTime();
    }
    long nanos = THREADS.getCurrentThreadCpuTime() - begin;
    sink += sum;
    return next == null ? "-" : next.getTime() / 1000 + " " + nanos;
  }
}
