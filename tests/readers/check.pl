# check.pl <reader> <program> <file of share/vellix>: reads log.txt of the
# working directory as the reader does, and compares with expected.txt.
use strict;
use warnings;
use File::Temp 'tempdir';
use JSON::PP;

my ($reader, $program, $file) = @ARGV;

sub lines {
  open(my $in, '<:raw', $_[0]) or die "$_[0]: $!";
  return map { chomp; $_ } <$in>;
}

# The standard output of a command that has to succeed.
sub output {
  open(my $pipe, '-|:raw', 'timeout', 60, @_) or die "@_: $!";
  local $/;
  my $text = <$pipe>;
  close($pipe) or die "failed with status $?: @_";
  return $text;
}

my @expected = map { [split /\x1F/, $_, -1] } lines('expected.txt');

# Each reader gives its records as rows of time, thread, level, source, message
# and data. An expected row has the two forms of its time first.
sub lnav {
  my %level = (DEBUG => 'debug', INFO => 'info', WARN => 'warning',
               EXP => 'error', ERROR => 'error', FATAL => 'fatal');
  for (@expected) {
    $_->[0] = splice(@$_, 1, 1) . '.000';
    $_->[2] = $level{$_->[2]};
    $_->[4] =~ s/\e\[\d*m//g;
  }
  local $ENV{HOME} = tempdir(CLEANUP => 1);
  delete local $ENV{XDG_CONFIG_HOME};
  output($program, '-i', $file);
  my @columns = qw(log_time thread log_level source log_body data);
  my $records = output($program, '-n',
      '-c', ';SELECT ' . join(', ', @columns) . ' FROM vellix_log',
      '-c', ':write-json-to -', 'log.txt');
  return map { [@$_{@columns}] } @{JSON::PP->new->decode($records)};
}

sub lognormalizer {
  splice(@$_, 1, 1) for @expected;
  my @rows;
  for (split /\n/, output('sh', '-c', '"$0" -r "$1" <log.txt',
                          $program, $file)) {
    my $record = JSON::PP->new->decode($_);
    if (my $both = $record->{message_and_data}) {
      @$record{qw(message data)} = $both =~ /^(.*)\] \[BN=([^]]*)\]$/
        or die "not as a whole: $both";
      my $delimiter = $record->{data} eq 'NULL' ? '] [BN=NULL]' : '] [BN=';
      index($record->{message}, $delimiter) >= 0 or die "not apart: $both";
    }
    push @rows, [map { $record->{$_} // '' }
                 qw(time thread level from message data)];
  }
  return @rows;
}

# A reader's own engine is not here; the pattern is, in one that is alike.
sub pattern {
  splice(@$_, 1, 1) for @expected;
  my ($pattern) = map { /^(?:VELLIX_LOG| *Regex) +(.*)/ } lines($file);
  my @rows;
  for (lines('log.txt')) {
    s/\r$// if @rows % 2;  # some readers take it away
    push @rows, /$pattern/
        ? [@+{qw(time thread level from message data)}] : ['unmatched', $_];
  }
  return @rows;
}

my %read = (lnav => \&lnav, lognormalizer => \&lognormalizer,
            fluent_bit => \&pattern, grok => \&pattern);
my @rows = $read{$reader}->();
@expected > 0 && @rows == @expected
  or die sprintf "%d records of %d\n", scalar @rows, scalar @expected;
for my $i (0 .. $#rows) {
  my ($have, $want) = map { join '|', @$_ } $rows[$i], $expected[$i];
  $have eq $want or die "line ", $i + 1, ":\n$have\ninstead of\n$want\n";
}
